#include "HostSettings.h"

#include <QStringList>

#include <algorithm>
#include <map>

#include "HostReport.h"

namespace {

template <typename T>
T* faceOf(ISource* source, long id)
{
    void* out = nullptr;
    return source && source->QueryInterface(id, &out) ? static_cast<T*>(out) : nullptr;
}

QString utf8(std::string_view text) { return QString::fromUtf8(text.data(), int(text.size())); }

QString colour(std::uint32_t argb) { return QStringLiteral("#%1").arg(argb, 8, 16, QLatin1Char('0')).toUpper(); }

void printRecord(HostReport& report, const CPropAppPreferences3& rec)
{
    report.line(QStringLiteral("download location"), HostReport::fromFx(rec.location, 260));
    report.line(QStringLiteral("batch rename"), utf8(rec.getBatchRenamePreference()));
    report.line(QStringLiteral("create subfolders"), QString::number(rec.createSubfoldersComboIndex));
    report.line(QStringLiteral("rename files"), QString::number(rec.renameFilesComboIndex));
    report.line(QStringLiteral("rename sequence"), QString::number(rec.renameSequenceNumber));
    report.line(QStringLiteral("preserve file name"), QString::number(rec.preserveOriginalFilename));
    report.line(QStringLiteral("quick viewer"), QString::number(rec.quickViewerMode));
    report.line(QStringLiteral("metadata author"), utf8(rec.getApplyMetadataAuthorName()));
    report.line(QStringLiteral("metadata copyright"), utf8(rec.getApplyMetadataCopyright()));
    report.line(QStringLiteral("groups open"), QStringLiteral("metadata %1, custom %2")
                                                   .arg(rec.applyMetadataGroupOpen)
                                                   .arg(rec.customGroupOpen));
    report.line(QStringLiteral("options"),
                QStringLiteral("%1 %2 %3").arg(rec.option1Pref).arg(rec.option2Pref).arg(rec.option3Pref));
    report.line(QStringLiteral("don't show again"), QString::number(rec.dontShowAgainFlags));
    report.line(QStringLiteral("grid filter"), QString::number(rec.gridFilter));
    report.line(QStringLiteral("panel colours"),
                QStringLiteral("background %1, text %2").arg(colour(rec.backgroundColor), colour(rec.textColor)));
}

void printFormats(HostReport& report, IFileFormat* list)
{
    unsigned long count = 0;
    list->GetFormatCount(count);
    report.line(QStringLiteral("formats"), QString::number(count));
    std::map<std::uint32_t, QStringList> byKind;
    list->Reset();
    CPropFileFormat record;
    fxInitRecord(record);
    while (list->GetFormat(record) == kFxOk)
        byKind[record.mediaKind] << HostReport::fromFx(record.extension, 8);
    const std::map<std::uint32_t, QString> names = {
        {kFormatImage, QStringLiteral("image")}, {kFormatAudio, QStringLiteral("audio")},
        {kFormatVideo, QStringLiteral("video")}, {kFormatAnyFile, QStringLiteral("any file")}};
    for (const auto& [kind, extensions] : byKind) {
        const auto name = names.find(kind);
        report.line(name != names.end() ? name->second : QString::number(kind),
                    QStringLiteral("%1: %2").arg(extensions.size()).arg(extensions.join(QLatin1Char(','))));
    }
}

} // namespace

void hostSettingsSession(ISource* source, HostReport& report, const QString& location)
{
    report.section(QStringLiteral("Supported formats"));
    if (auto* caps = faceOf<ISinkCapabilities2>(source, kIID_ISinkCapabilities2)) {
        IFileFormat* list = nullptr;
        const FxResult result = caps->GetSupportedFileFormatList(list);
        report.checkResult(result, kFxOk, QStringLiteral("GetSupportedFileFormatList"));
        if (list) {
            printFormats(report, list);
            list->Release();
        }
        caps->Release();
    }

    report.section(QStringLiteral("Preferences"));
    auto* util = faceOf<ISinkUtilHandler2>(source, kIID_ISinkUtilHandler2);
    if (!util)
        return;
    CPropAppPreferences3 rec;
    fxInitRecord(rec);
    report.checkResult(util->GetPreferences(rec.header), kFxOk, QStringLiteral("GetPreferences"));
    printRecord(report, rec);

    // What this session changes, for the next one to find.
    rec.renameSequenceNumber += 1;
    if (!location.isEmpty()) {
        const int n = std::min(int(location.size()), 259);
        std::copy_n(location.utf16(), n, rec.location);
        rec.location[n] = 0;
    }
    report.checkResult(util->SetPreferences(rec.header), kFxOk, QStringLiteral("SetPreferences"));
    report.line(QStringLiteral("written back"), QStringLiteral("rename sequence %1%2")
                                                    .arg(rec.renameSequenceNumber)
                                                    .arg(location.isEmpty() ? QString() : QStringLiteral(", location ") + location));
    util->Release();
}
