// Skiff plug-in SDK: the root of every interface.
#pragma once

#include "FxTypes.h"

// Reference-counted root interface. Objects are created with a count the
// creator owns; Release deletes the object when the count reaches zero.
// No destructor is published: lifetime is the count's business alone.
class IFxBase {
 public:
  // Looks up the face for `id`. On success stores it in *out, AddRefs it
  // through that face and returns true; otherwise stores null and returns false.
  virtual bool QueryInterface(long id, void** out) = 0;
  // Increments the count and returns the new value.
  virtual long AddRef() = 0;
  // Decrements the count and returns the new value; at zero the object is gone.
  virtual long Release() = 0;

 protected:
  ~IFxBase() = default;
};

// The plug-in's only export. Creates the manager with a count of 1, stores
// its IFxPlugin face in *out and returns true.
using FxPluginMainFunc = bool (*)(IFxBase** out);
#define SKIFF_PLUGIN_ENTRY "FxPluginMain"
