// Access keys that two texts of one dialog share: the keys of a dialog sit
// under one key path ("/DngConversion/LossLess", "/DngConversion/
// PreserveRawImage"), and two of its controls marked "&C" both answer
// Alt+C, so one of them cannot be reached from the keyboard.
#pragma once

#include "Dictionary.h"

#include <string>
#include <vector>

namespace quire {

struct AcceleratorClash {
    std::string first;  // key path, the lower of the two
    std::string second; // key path
    char16_t key;       // the access key as the first text writes it
};

// Every pair of entries with the same parent key path (everything before
// the last "/") whose texts, hat escapes converted, take the same access
// key; letters are compared without case (Latin, Greek and Cyrillic).
// Sorted by first, then second. Walks the dictionary's key enumeration.
std::vector<AcceleratorClash> FindAcceleratorClashes(Dictionary& dictionary);

} // namespace quire
