// QorvaneAppSettings: how this build was made, which product it serves, and the filing channels that it is
// approved for. Class operations without state; what runs is asked of QVSettings on each call, the rest is
// that of the release build.
#pragma once

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

class QorvaneAppSettings {
 public:
  QorvaneAppSettings() = delete;

  /// Does nothing: there is nothing to prepare.
  static void initialize();

  /// The corporate product is running; as QVSettings::isT2.
  static bool isT2();
  /// The second T2 release of the year is running; as QVSettings::isT2_VER2.
  static bool isT2VesrionTwo();
  /// The professional edition is running; as QVSettings::isPROVER.
  static bool isPROVERBuild();

  /// A development build: false.
  static bool isDEVVERBuild();
  /// A debug build: false.
  static bool isDEBUGBuild();
  /// A testing build: false.
  static bool isTestingBuild();
  /// Approved for sending returns: true.
  static bool isSENDApproved();
  /// Optimisation is on: true.
  static bool enableOptimization();
  /// Approved for the federal agency's electronic filing by professionals: true.
  static bool isEFileApproved();
  /// Approved for the federal agency's electronic filing by single filers: true.
  static bool isNetFileApproved();
  /// Approved by the Quebec agency: true.
  static bool isMRQApproved();
};

}  // namespace v1
}  // namespace qorvane
