#include "qorvane/desktop/Bundle.h"

#include <filesystem>
#include <system_error>
#include <utility>

#include "qorvane/foundation/Exception.h"

namespace qorvane::inline v1 {

namespace {

Bundle*& chosenBundle() {
  static Bundle* bundle = nullptr;
  return bundle;
}

}  // namespace

Bundle::Bundle(std::string programLink) : programLink_(std::move(programLink)) {}

Bundle& Bundle::mainBundle() {
  static Bundle& own = *new Bundle;
  return chosenBundle() ? *chosenBundle() : own;
}

Bundle* Bundle::setMainBundle(Bundle* bundle) { return std::exchange(chosenBundle(), bundle); }

Text Bundle::bundlePath() const {
  if (!path_.isNil()) return path_;
  std::error_code error;
  const std::filesystem::path program = std::filesystem::read_symlink(programLink_, error);
  if (error) throw Exception({FailureCode::programNotFound, {programLink_}, error.value()});
  return Text(program.parent_path().native());
}

void Bundle::setBundlePath(Text path) { path_ = std::move(path); }

}  // namespace qorvane::inline v1
