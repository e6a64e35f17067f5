// Texts compared as people look for them: without regard to case, accents and the form of an apostrophe.
#pragma once

#include <string>
#include <string_view>

namespace optionsmgr {

/// The text in small letters without accents; ligatures are taken apart, every other kind of apostrophe is
/// the plain one, and what is neither letter nor digit nor apostrophe is a blank.
std::string plainLetters(std::string_view text);

}  // namespace optionsmgr
