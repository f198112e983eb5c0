#ifndef QUORVEX_QUORVEX_H
#define QUORVEX_QUORVEX_H

/* The whole interface of libquorvex.so. Compiles as C11 and as C++20. */

#include "quorvex/beamexpander.h"
#include "quorvex/beampower.h"
#include "quorvex/camera.h"
#include "quorvex/confile.h"
#include "quorvex/coordinates.h"
#include "quorvex/detector.h"
#include "quorvex/errors.h"
#include "quorvex/force.h"
#include "quorvex/forcecal.h"
#include "quorvex/galvo.h"
#include "quorvex/imageproc.h"
#include "quorvex/laser.h"
#include "quorvex/session.h"
#include "quorvex/stage.h"
#include "quorvex/trap.h"
#include "quorvex/types.h"

#endif
