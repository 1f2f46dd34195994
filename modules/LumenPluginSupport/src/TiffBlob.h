// Large UNDEFINED tag values in the first IFD of a classic TIFF file.
// libtiff's own definition of some DNG tags limits their count to 65535, too
// little for an embedded original, so such a value is written as a short
// placeholder through libtiff and then moved here: the blob is appended to
// the file and the tag's entry pointed at it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace lumen {

// Appends `blob` to the open file `fd` (word aligned) and points the entry
// of `tag` in the first IFD at it. False with a reason when the file is not
// a classic TIFF or the first IFD lacks the tag.
bool appendTagBlob(int fd, std::uint16_t tag, const std::vector<std::uint8_t>& blob, std::string& error);

// Changes the field type of `tag`'s entry in the first IFD, for types of the
// same size: libtiff writes sub-IFD offsets as type IFD where readers expect
// LONG.
bool retypeEntry(int fd, std::uint16_t tag, std::uint16_t type, std::string& error);

// Reads the value of `tag` in the first IFD of the file at `path`; false
// with a reason when the file or the tag is missing or out of bounds.
bool readTagBlob(const std::string& path, std::uint16_t tag, std::vector<std::uint8_t>& blob, std::string& error);

} // namespace lumen
