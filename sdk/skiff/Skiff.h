// Skiff plug-in SDK: everything a destination plug-in needs.
#pragma once

#include "CProp.h"
#include "FxBase.h"
#include "FxTypes.h"
#include "HostInterfaces.h"
#include "SinkInterfaces.h"
#include "SinkChain.h" // Tessel's own extension
#include "SourceInterfaces.h"
