// Which of several cameras is the board's own.
#include <camera/libcamera/CameraChoice.h>

#include <algorithm>

namespace telvane::camera {

std::size_t ChooseCamera(std::span<const std::string> ids)
{
    const auto own = std::find_if(ids.begin(), ids.end(),
                                  [](const std::string& id) { return id.find("/usb") == std::string::npos; });
    return own == ids.end() ? 0 : static_cast<std::size_t>(own - ids.begin());
}

} // namespace telvane::camera
