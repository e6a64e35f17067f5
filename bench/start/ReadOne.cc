// A program that reads one option and ends.
#include "qorvane/manager/OptionsMgr.h"

int main() { return qorvane::OptionsMgr::language().isEqualTo("English") ? 0 : 1; }
