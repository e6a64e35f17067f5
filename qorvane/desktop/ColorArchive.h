// The archive form of a colour: the block of bytes that a settings file holds for it, a "typed stream" with
// one colour object, as existing installations write and read it.
//
// What is written: single-precision numbers where every component is exactly one, so that the bytes are those
// that the existing writers make; double precision in the same layout where not, so that every component
// comes back bit for bit. An sRGB colour, which the existing form does not have, is an object of the class
// "QVSRGBColor" with one group of components: readers that do not know it stop at an unknown class. A pattern
// has no archive.
#pragma once

#include "qorvane/desktop/Color.h"
#include "qorvane/foundation/Data.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

/// The colour's archive. Throws Exception for a pattern, or a name that stands for one.
Data archiveColor(const Color& color);

/// The colour that the archive holds, written in either byte order. Throws Exception, saying at which byte,
/// when the bytes are no archive of one colour and nothing else.
Color unarchiveColor(const Data& archive);

}  // namespace v1
}  // namespace qorvane
