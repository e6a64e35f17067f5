// The languages of the tool: every message is written in English where it is said, and French.def holds its
// French.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace optionsmgr {

/// The language of help and messages from now on; English at first.
void speakFrench(bool french);
bool speaksFrench();

/// The English text, or its French. A text that French.def does not hold, such as a proper name, stays.
std::string_view translated(std::string_view english);

/// The text in the language of the tool, with each "{}" replaced by the next argument.
std::string filled(std::string_view pattern, std::initializer_list<std::string_view> arguments);

template <class... Arguments>
std::string say(std::string_view english, const Arguments&... arguments) {
  return filled(translated(english), {std::string_view(arguments)...});
}

}  // namespace optionsmgr
