#include "ScreenGrabber.h"

#include <sys/ipc.h>
#include <sys/shm.h>
#include <xcb/shm.h>

#include <algorithm>
#include <cstdint>
#include <stdexcept>

#include "XReply.h"

namespace {

constexpr int kBytesPerPixel = 4;

/// Blue, green, red and a byte more, as frames for recognition are.
bool hasFramePixels(const xcb_setup_t& setup, const xcb_screen_t& screen) {
  if (setup.image_byte_order != XCB_IMAGE_ORDER_LSB_FIRST) {
    return false;
  }
  for (auto format = xcb_setup_pixmap_formats_iterator(&setup); format.rem > 0; xcb_format_next(&format)) {
    if (format.data->depth == screen.root_depth) {
      return screen.root_depth >= 24 && format.data->bits_per_pixel == 8 * kBytesPerPixel;
    }
  }
  return false;
}

/// Memory that both sides see; it goes away with the last of them.
class SharedMemory {
 public:
  explicit SharedMemory(std::size_t size) : id_(shmget(IPC_PRIVATE, size, IPC_CREAT | 0600)) {
    if (id_ < 0) {
      return;
    }
    void* memory = shmat(id_, nullptr, 0);
    if (memory != reinterpret_cast<void*>(-1)) {  // NOLINT(performance-no-int-to-ptr): so shmat fails
      bytes_ = {static_cast<std::uint8_t*>(memory), [](const std::uint8_t* bytes) { shmdt(bytes); }};
    }
  }
  SharedMemory(const SharedMemory&) = delete;
  SharedMemory& operator=(const SharedMemory&) = delete;
  ~SharedMemory() {
    if (id_ >= 0) {
      shmctl(id_, IPC_RMID, nullptr);
    }
  }

  [[nodiscard]] std::uint32_t id() const { return static_cast<std::uint32_t>(id_); }
  [[nodiscard]] const std::shared_ptr<const std::uint8_t>& bytes() const { return bytes_; }

 private:
  int id_;
  std::shared_ptr<const std::uint8_t> bytes_;
};

}  // namespace

ScreenGrabber::ScreenGrabber() {
  int screenNumber = 0;
  connection_.reset(xcb_connect(nullptr, &screenNumber));
  if (xcb_connection_has_error(connection_.get()) != 0) {
    throw std::runtime_error("the X server cannot be reached for pictures of the screen");
  }
  const xcb_setup_t* setup = xcb_get_setup(connection_.get());
  auto screens = xcb_setup_roots_iterator(setup);
  for (; screens.rem > 1 && screenNumber > 0; --screenNumber) {
    xcb_screen_next(&screens);
  }
  root_ = screens.data->root;
  if (!hasFramePixels(*setup, *screens.data)) {
    throw std::runtime_error("the X server's screen has no 32-bit pixels to recognize text in");
  }
  const auto* extension = xcb_get_extension_data(connection_.get(), &xcb_shm_id);
  if (extension == nullptr || extension->present == 0 || grab(1).pixels == nullptr) {
    throw std::runtime_error("the X server shares no memory: pictures of the screen cannot be had");
  }
}

zqlogging::PixelBuffer ScreenGrabber::grab(int height) {
  xcb_connection_t* connection = connection_.get();
  const Reply<xcb_get_geometry_reply_t> size(
      xcb_get_geometry_reply(connection, xcb_get_geometry(connection, root_), nullptr));
  if (!size || height <= 0) {
    return {};
  }
  const int rows = std::min<int>(height, size->height);
  const std::size_t bytesPerRow = std::size_t{size->width} * kBytesPerPixel;
  const SharedMemory memory(bytesPerRow * static_cast<std::size_t>(rows));
  if (!memory.bytes()) {
    return {};
  }
  const xcb_shm_seg_t segment = xcb_generate_id(connection);
  xcb_shm_attach(connection, segment, memory.id(), 0);
  const auto request = xcb_shm_get_image(connection, root_, 0, 0, size->width, static_cast<std::uint16_t>(rows), ~0U,
                                         XCB_IMAGE_FORMAT_Z_PIXMAP, segment, 0);
  xcb_shm_detach(connection, segment);
  const Reply<xcb_shm_get_image_reply_t> image(xcb_shm_get_image_reply(connection, request, nullptr));
  while (const Reply<xcb_generic_event_t> ignored{xcb_poll_for_event(connection)}) {  // errors of the other requests
  }
  if (!image) {
    return {};
  }
  return {memory.bytes(), size->width, rows, bytesPerRow};
}
