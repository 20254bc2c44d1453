// Which of several cameras is the board's own.
#ifndef CAMERA_LIBCAMERA_CAMERACHOICE_H
#define CAMERA_LIBCAMERA_CAMERACHOICE_H

#include <cstddef>
#include <span>
#include <string>

namespace telvane::camera {

/// \param ids  the names that libcamera gives the system's cameras, paths through the machine's devices; one
///             or more
/// \return index of the first that is not connected by USB; 0 if all are
std::size_t ChooseCamera(std::span<const std::string> ids);

} // namespace telvane::camera

#endif
