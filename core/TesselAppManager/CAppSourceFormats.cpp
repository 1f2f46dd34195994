// The file formats that the sink accepts.
#include "CAppSource.h"

#include <QString>
#include <QStringList>

#include <algorithm>

#include "CMOXFileFormat.h"

namespace {

// Exactly as they have always stood; the second "jpeg" is refused as a
// duplicate when the list is filled.
const char kImageExtensions[] =
    "jpg,jpe,jpeg,dng,pdf,dnf,cr2,vst,icb,tga,vda,rle,wbm,wbmp,erf,mos,pcx,pef,x3f,srf,dib,pxr,jpf,jpx,j2c,jp2,jpc,"
    "pdd,cam,crw,dcr,fpx,gif,jpeg,bmp,mrw,nef,orf,png,lumend,raf,raw,tif,tiff,ota,j2k,kdc,sr2,mef,mfw";
const char kAudioExtensions[] = "aaf,aac,ac3,aif,aiff,mp3,wav,wma,mid,midi,amr,m4a,mp2,mpa,m2a";
const char kVideoExtensions[] =
    "asx,tp,ts,asf,mod,vob,3gp,3gpp,3g2,avi,mov,mp4,mpeg,mpg,mpe,wmv,m2v,mpv,m2p,m2t,m4v,dv,dvr-ms,mts,m2ts,flv,"
    "flm,swf,m1v,avc";
const char kAnyFile[] = "*";

void addGroup(IFileFormat& list, const QString& extensions, std::uint32_t kind)
{
    for (const QString& extension : extensions.split(QLatin1Char(','))) {
        CPropFileFormat record;
        fxInitRecord(record);
        const int n = std::min<int>(extension.size(), 8);
        std::copy_n(extension.utf16(), n, record.extension);
        record.mediaKind = kind;
        list.SetFormat(record);
    }
}

} // namespace

FxResult CAppSource::GetSupportedFileFormatList(IFileFormat*& formats)
{
    try {
        if (!m_fileFormats) {
            QString images = QString::fromLatin1(kImageExtensions);
            const QString engine = QString::fromUtf16(m_lumenPluginExtensions.c_str());
            // A plain substring test: an extension inside a longer listed one
            // ("ti" in "tif") counts as listed.
            for (const QString& extension : engine.split(QLatin1Char(','))) {
                if (!images.contains(extension))
                    images += QLatin1Char(',') + extension;
            }
            auto* list = new CMOXFileFormat;
            addGroup(*list, images, kFormatImage);
            addGroup(*list, QString::fromLatin1(kAudioExtensions), kFormatAudio);
            addGroup(*list, QString::fromLatin1(kVideoExtensions), kFormatVideo);
            addGroup(*list, QString::fromLatin1(kAnyFile), kFormatAnyFile);
            m_fileFormats = list;
        }
        formats = m_fileFormats;
        formats->AddRef();
        return kFxOk;
    } catch (...) {
        return kFxErrFailure;
    }
}
