// The version, said once: the build files, the packages, the tool and its manual pages read it here.
// Major: what breaks programs or files (the shared library's name carries it). Minor: what is added. Patch:
// mends.
#pragma once

#define OPTIONSMGR_VERSION "1.0.0"
/// When that version was made, for the manual pages.
#define OPTIONSMGR_DATE "2026-11-21"
