#pragma once

#include <string_view>

namespace zqlogging {

/// Whether nobody types into elements of this role, so that what they show is no secret of their own. Every role that
/// is not named here may be a field.
bool isPlainRole(std::string_view role);

}  // namespace zqlogging
