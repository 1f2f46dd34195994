// Tessel's own extension to the host's interfaces: not one of Skiff's, and
// absent from Skiff's identifier table.
//
// A sink's pre- and post-processing run after those of "the next sink" in
// its chain. Skiff's own interfaces have no way to name that sink, so the
// source object also answers QueryInterface(kIID_ISkiffSinkChain) with this
// face. Without a next sink, DoPreProcessing and DoPostProcessing do no work
// of their own and return 0 (false).
#pragma once

#include "FxBase.h"
#include "SinkInterfaces.h"

// Chosen far away from Skiff's small identifiers.
constexpr long kIID_ISkiffSinkChain = 0x54530001;

class ISkiffSinkChain : public IFxBase {
 public:
  // Sets the sink to run first. The sink is AddRef'd and kept until it is
  // replaced or this object dies; null removes it. The next sink's result is
  // read as a truth value: zero means it failed, and this sink then does
  // nothing and returns 0. Returns kFxErrInvalidArg when `next` is this
  // object's own face (a chain must not loop), else kFxOk.
  virtual FxResult SetNextSink(ISkiffPostProcessing* next) = 0;

 protected:
  ~ISkiffSinkChain() = default;
};
