// The byte copy behind copyFileIntoTargetFolder.
#pragma once

// Copies the regular file `source` to `target`, which is created exclusively
// with mode 0600. Uses copy_file_range and falls back to read/write where the
// kernel cannot copy between the two file systems. Keeps the source's access
// and modification times. On failure a target that this call created is
// removed and errno tells why.
bool appCopyFile(const char* source, const char* target);
