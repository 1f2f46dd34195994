#include "SelfRegistration.h"

#include <QFile>

#include "Specifier.h"
#include "TesselTalkConnector.h"

namespace {
const char kSpecifier[] = "tessel";
const char kDisplayName[] = "Tessel";
} // namespace

Registration registerIfMissing(const QString& executable)
{
    ScObjects::TesselTalkConnector connector{ScObjects::SoString("default")};
    if (!connector.isGood())
        return Registration::Failed;
    ScObjects::TTConnectorAppInfo existing;
    if (connector.getAppInfo(ScObjects::SoString(kSpecifier), existing))
        return Registration::AlreadyRegistered;
    const QByteArray path = QFile::encodeName(executable);
    if (!connector.registerApplication(ScObjects::TesselTalk::Specifier(kSpecifier, false), path.constData(),
                                       kDisplayName, false))
        return Registration::Failed;
    return Registration::Registered;
}
