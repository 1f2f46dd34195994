// The services that the layers below ask of the messaging objects: the
// specifier context, the queues' notices and log, the launcher's main
// object and endpoints. Installed by TesselTalk::InitTerm::init, removed
// by exit.
#pragma once

namespace ScObjects {
namespace TesselTalkData {

void installCoreServices();
void removeCoreServices();

} // namespace TesselTalkData
} // namespace ScObjects
