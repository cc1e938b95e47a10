# Installs the build into a folder of its own, moves that folder, builds the consumer against it and runs it.
#   cmake -D BUILD=… -D SOURCE=… -D WORK=… -D CXX=… [-D FLAGS=…] -P run.cmake
function(run)
  execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

file(REMOVE_RECURSE ${WORK})
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/first)
# An installed tree may be packed and unpacked elsewhere.
file(RENAME ${WORK}/first ${WORK}/moved)
file(GLOB_RECURSE descriptions ${WORK}/moved/*/zqlogging.pc)
get_filename_component(descriptions ${descriptions} DIRECTORY)
set(ENV{PKG_CONFIG_PATH} ${descriptions})
run(${CMAKE_COMMAND} -G Ninja -S ${SOURCE} -B ${WORK}/build -DCMAKE_PREFIX_PATH=${WORK}/moved -DCMAKE_CXX_COMPILER=${CXX}
  "-DCMAKE_CXX_FLAGS=${FLAGS}")
run(${CMAKE_COMMAND} --build ${WORK}/build)
foreach(consumer with_cmake_package with_pkg_config)
  run(${CMAKE_COMMAND} -E env XDG_CACHE_HOME=${WORK}/cache ${WORK}/build/${consumer})
endforeach()
run(${WORK}/moved/bin/zqlog --help)
