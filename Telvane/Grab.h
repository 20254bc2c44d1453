// Frames from the camera.
#ifndef TELVANE_GRAB_H
#define TELVANE_GRAB_H

#include <Kavrix/KXubyte.h>

#include <raspicam/raspicam.h>

/// Fills a sequence with grey frames from a camera that is open. Ten frames are let pass for it to settle;
/// progress is printed on standard output, a number for each frame and a newline at the end.
/// \param camera   delivers frames of the sequence's width and height, 3 bytes per pixel, rows without
///                 padding; a null buffer converts nothing
/// \param seq      W x H x N, 1..2592 x 1..1944 x 1 or more; written, through shared storage
/// \param period1  camera frames from frame 0 to 1, 2 to 3, ...
/// \param period2  camera frames from frame 1 to 2, 3 to 4, ...
/// \return 0; -1 when the size is out of range, nothing is grabbed then
int Grab(raspicam::RaspiCam* camera, CubByte seq, int period1, int period2);

namespace telvane {

/// A picture of the camera, 3 bytes per pixel and rows without padding, as a grey frame.
/// \param frame  has the picture's size; written, through shared storage
void ConvertToGrey(const unsigned char* bytes, const MatByte& frame);

} // namespace telvane

#endif
