#include "qorvane/profile/QorvaneAppSettings.h"

#include "qorvane/siblings/QVSettings.h"

namespace qorvane::inline v1 {

void QorvaneAppSettings::initialize() {}

bool QorvaneAppSettings::isT2() { return QVSettings::isT2(); }
bool QorvaneAppSettings::isT2VesrionTwo() { return QVSettings::isT2_VER2(); }
bool QorvaneAppSettings::isPROVERBuild() { return QVSettings::isPROVER(); }

bool QorvaneAppSettings::isDEVVERBuild() { return false; }
bool QorvaneAppSettings::isDEBUGBuild() { return false; }
bool QorvaneAppSettings::isTestingBuild() { return false; }
bool QorvaneAppSettings::isSENDApproved() { return true; }
bool QorvaneAppSettings::enableOptimization() { return true; }
bool QorvaneAppSettings::isEFileApproved() { return true; }
bool QorvaneAppSettings::isNetFileApproved() { return true; }
bool QorvaneAppSettings::isMRQApproved() { return true; }

}  // namespace qorvane::inline v1
