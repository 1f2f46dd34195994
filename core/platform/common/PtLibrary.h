// Loading of code bundles and lookup of their functions by name.
//
// A bundle is a directory `X.framework` (or any directory); its code is the
// shared object `<dir>/<dir name without extension>`. A directory without
// that file is still a bundle: a non-null handle whose lookups return null.
// Whoever receives a handle owns it and gives it back with PtUnloadLibrary
// or PtReleaseModuleRef.
#pragma once

struct PtBundle;
using PtLibraryHandle = PtBundle*;

// The bundle at a directory path, without loading its code; null when the
// path does not name a directory.
PtLibraryHandle PtCreateBundle(const unsigned short* path);
// PtCreateBundle, then loads the code. A bundle whose code failed to load is
// still returned; only a failure to create the bundle yields null.
PtLibraryHandle PtLoadLibrary(const unsigned short* path);
// The function named `name` in the bundle's code, or null.
void* PtGetProcAddress(PtLibraryHandle bundle, const unsigned short* name);
// The bundle, only if its code is already loaded in this process; else null.
// The handle keeps the code loaded until it is released.
PtLibraryHandle PtGetModuleHandle(const unsigned short* path);
// Unloads the code (if any) and releases the handle. Always true.
bool PtUnloadLibrary(PtLibraryHandle bundle);
// Releases the handle. Code loaded through it stays loaded, so that functions
// looked up earlier stay callable; a handle from PtGetModuleHandle gives back
// only the hold it took, so the code goes once its loader unloads it.
void PtReleaseModuleRef(PtLibraryHandle bundle);
