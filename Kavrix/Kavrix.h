/// \file
/// The whole library in one include.
#ifndef KAVRIX_KAVRIX_H
#define KAVRIX_KAVRIX_H

#include <Kavrix/Convert_Bs.h>
#include <Kavrix/Convert_si.h>
#include <Kavrix/Datablock.h>
#include <Kavrix/FindSemiCircle.h>
#include <Kavrix/HaltHook.h>
#include <Kavrix/Imgproc.h>
#include <Kavrix/KXcommon.h>
#include <Kavrix/KXfloat.h>
#include <Kavrix/KXint.h>
#include <Kavrix/KXshort.h>
#include <Kavrix/KXubyte.h>
#include <Kavrix/OptFlow.h>
#include <Kavrix/TestQ.h>
#include <Kavrix/bmpread.h>
#include <Kavrix/bmpwrite.h>
#include <Kavrix/jpegwrite.h>
#include <Kavrix/rawfiles.h>

#endif
