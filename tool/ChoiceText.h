// The choices of a list as they are shown: by their own verb, and by those that tell what an option takes.
#pragma once

#include <ostream>

#include "qorvane/jurisdictions/ChoiceLists.h"
#include "tool/Output.h"

namespace optionsmgr {

/// Each choice with its neutral value, its stored labels and those for people, whether it is offered in the
/// running year, and whether it is the default: the one of that neutral value or label.
Json choicesAsJson(const qorvane::ChoiceList& list, const qorvane::Text& byDefault);

/// The same as a table, with the labels for people, indented by that text.
void printChoices(const Session& session, const qorvane::ChoiceList& list, const qorvane::Text& byDefault,
                  std::ostream& out, const std::string& indent = "");

}  // namespace optionsmgr
