// The live picture with what moves laid over it.
#ifndef SETUP_MOTIONPICTURE_H
#define SETUP_MOTIONPICTURE_H

#include <Kavrix/KXubyte.h>

#include <string>

namespace telvane {

/// The second of two pictures that follow each other, darkened and half as large, and over it the motion
/// between them in the colours of the report. The flow of two sweeps grows with the contrast: clear edges
/// have their full colour from small parts of a pixel on, and noise on a still picture stays dark. \return
/// the bytes of a JPEG file
std::string MotionJpeg(const MatByte& first, const MatByte& second);

} // namespace telvane

#endif
