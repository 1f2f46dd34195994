// File-system calls that take a UTF-16 path. A null path is the empty string.
#pragma once

// access(2). Returns true when access FAILS and false when the file is
// accessible in `mode`: every caller relies on this inverted sense.
bool ptucsaccess(const unsigned short* path, int mode);
// open(2): a descriptor or -1.
int ptucsopen(const unsigned short* path, int flags, int mode);
// unlink(2): 0 or -1.
int ptucsunlink(const unsigned short* path);
