// Which saves of several years' files were one step, so that undoing one of them undoes all. Noted in the
// store's folder:
//
//   .steps.plist   [ { KEY: { "before": NUMBER, "after": NUMBER }, … }, … ], the newest last
//
// "before" is the generation that the step's save of the file kept, missing where there was no file; "after"
// the number in the seal of the file that it wrote, missing where it removed the file.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "qorvane/foundation/Dictionary.h"
#include "tool/Domains.h"
#include "tool/Session.h"

namespace optionsmgr {

struct DoneStep {
  struct Part {
    std::optional<std::uint64_t> before;
    std::optional<std::uint64_t> after;
  };
  std::map<Domain, Part> parts;
};

/// The number of the domain's newest generation; 0 without one, or when that cannot be told.
std::uint64_t newestGeneration(Session& session, const Domain& domain) noexcept;
/// What the save did that was made just now, under the lock, when `last` was the newest generation; none for
/// a file that stayed as it was.
std::optional<DoneStep::Part> donePart(Session& session, const Domain& domain, std::uint64_t last) noexcept;

/// Notes the step beside those before it, of which the last 50 are kept. Throws Failure.
void recordStep(Session& session, const DoneStep& step);
/// The newest first. What cannot be read or understood is no step: its years are undone one by one.
std::vector<DoneStep> doneSteps(Session& session);

/// What one domain becomes when the step is undone, though others may have changed it since.
struct UndonePart {
  /// None: as before the step there is no file.
  std::optional<qorvane::Settings> settings;
  /// Entries that the step had changed and somebody else has since: they stay.
  std::vector<qorvane::Text> changedSince;
};
/// None when what it was before or after the step is not kept any more.
std::optional<UndonePart> undonePart(Session& session, const Domain& domain, const DoneStep::Part& part);

}  // namespace optionsmgr
