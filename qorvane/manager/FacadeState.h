// The one state behind the facade's class operations. Internal to the library and its tests.
#pragma once

namespace qorvane::inline v1 {

/// Forgets the facade's stores and flags, as if none of its operations had run: the next one loads anew. Only
/// while nobody holds a store of the facade's.
void forgetFacade();

}  // namespace qorvane::inline v1
