// Several years changed as one step. No file system changes several files in one moment, so what each of them
// was and is to become is written down first, in the folder .unfinished of the store:
//
//   .unfinished/Changes.plist   { "Changes": { KEY: { "before": {…}, "chosen": […], "after": {…} }, … } },
//                               without "before" where there was no file, "chosen" where no entry was marked
//                               and "after" where none is to be; a store of its own, so sealed and synced
//   .unfinished/Reserve         as many bytes as putting everything back takes, freed for that
//   .unfinished/Finished        only where the note could not be removed after all was done
//
// While the note stands, the step has not happened: who reads is answered what was before it, and whoever
// writes next puts that back first. A file that somebody changed meanwhile is neither: it stays.
#pragma once

#include <map>
#include <optional>

#include "qorvane/foundation/Dictionary.h"
#include "tool/Domains.h"
#include "tool/Session.h"

namespace optionsmgr {

/// What the domains' entries are to become; none: their file goes.
using Changes = std::map<Domain, std::optional<qorvane::Dictionary>>;

/// Marks of chosen entries, where they are to become others than those that stand.
using Marks = std::map<Domain, qorvane::Value>;

/// Makes all the changes or, when one fails, none: those already made are put back. Called with the lock
/// held, after `putBackUnfinished`. Throws Failure when nothing was changed, as for a change of an option
/// that a layer locks, and says so when something could not be put back. What could not be tidied up after
/// all was done is told, and no failure.
void changeAll(Session& session, const Changes& changes, const Marks& marks = {});

/// Reads what was saved, and tells when it cannot be read or reads otherwise: it is saved all the same.
void tellUnlessSaved(Session& session, const Changes& changes);

/// Puts back what a step that was interrupted had changed, and tells what became of each file. What is not
/// put back, because somebody changed the file since, is kept as a preferences file of its own; a note that
/// cannot be understood is quarantined whole. Called with the lock held, before anything is changed. Throws
/// Failure when it cannot be done now: the note stays, and reading goes on.
void putBackUnfinished(Session& session);

/// What the domain holds for a reader who found these settings in its file: what was before an unfinished
/// step, if the file still is what the step made of it. Tells, once, that there is such a step. Takes no
/// lock and changes nothing.
std::optional<qorvane::Settings> beforeUnfinished(Session& session, const Domain& domain,
                                                  std::optional<qorvane::Settings> found);

}  // namespace optionsmgr
