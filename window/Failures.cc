#include "window/Failures.h"

#include <cerrno>

#include "tool/speech/Language.h"
#include "window/Words.h"

namespace optionsmgr::window {

using qorvane::Failure;
using qorvane::FailureCode;

namespace {

// The failure at the root of it.
const Failure& innermost(const Failure& failure) {
  return failure.causes.empty() ? failure : innermost(failure.causes.back());
}

}  // namespace

QString inShort(const Failure& failure) {
  const Failure& root = innermost(failure);
  if (root.code == FailureCode::lockedByAnother) return said(Word::AnotherSaves);
  if (root.systemError == ENOSPC || root.systemError == EDQUOT) return said(Word::DiskFull);
  if (root.systemError == 0) return shown(root.reason(language()));
  return shown(qorvane::systemReason(root.systemError, language()));
}

QString inFull(const Failure& failure) { return shown(failure.reason(language())); }

}  // namespace optionsmgr::window
