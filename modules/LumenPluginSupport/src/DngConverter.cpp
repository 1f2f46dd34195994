#include "lumen/DngConverter.h"

#include <cstring>

#include <unistd.h>

#include "AtomicOutput.h"
#include "DngWriter.h"
#include "JpegPreview.h"
#include "OriginalRawData.h"
#include "RawSource.h"
#include "TiffBlob.h"

namespace lumen {

namespace {

constexpr unsigned kMediumPreviewSide = 1024;
constexpr int kPreviewQuality = 90;
constexpr std::uint16_t kTagOriginalRawFileData = 50828;
constexpr std::uint16_t kTagOriginalRawFileDigest = 50973;

ConvertResult failure(std::string error)
{
    return ConvertResult{false, std::move(error)};
}

std::string baseName(const std::string& path)
{
    const auto slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

ConvertResult convertLoaded(RawSource& raw, const std::string& name, const std::string& target,
                            const DngOptions& options)
{
    std::string error;
    DngContent content;
    content.camera = raw.camera();
    content.compressed = options.compressed;

    std::vector<std::uint16_t> linear;
    if (options.linear || !raw.hasCfa()) {
        std::uint32_t width = 0, height = 0;
        if (!raw.renderLinear(linear, width, height, error))
            return failure(error);
        content.image = ImageView{linear.data(), std::size_t(width) * 3, width, height, 3};
        content.levels = Levels{};
    } else {
        content.image = raw.cfaImage();
        content.layout = raw.cfaLayout();
        content.levels = raw.cfaLevels();
    }

    JpegPreview preview;
    if (options.preview != PreviewSize::None) {
        std::vector<std::uint8_t> rgb;
        const unsigned side = options.preview == PreviewSize::Medium ? kMediumPreviewSide : 0;
        if (!raw.renderPreview(side, rgb, preview.width, preview.height, error) ||
            !encodeJpeg(rgb, preview.width, preview.height, kPreviewQuality, preview.jpeg, error))
            return failure(error);
        content.preview = &preview;
    }

    EmbeddedOriginal original;
    if (options.embedOriginal) {
        original.name = name;
        original.blob = packOriginal(raw.fileData(), raw.fileSize());
        md5Digest(original.blob.data(), original.blob.size(), original.digest);
        content.original = &original;
    }

    AtomicOutput output(target);
    if (!output.open(error) || !writeDng(output.fd(), content, error) || !output.commit(error))
        return failure(error);
    return ConvertResult{true, {}};
}

} // namespace

ConvertResult convertToDng(const std::string& source, const std::string& target, const DngOptions& options)
{
    try {
        RawSource raw;
        std::string error;
        if (!raw.load(source, error))
            return failure(error);
        return convertLoaded(raw, baseName(source), target, options);
    } catch (const std::exception& e) {
        return failure(std::string("conversion failed: ") + e.what());
    }
}

ConvertResult convertToDng(const std::uint8_t* data, std::size_t size, const std::string& name,
                           const std::string& target, const DngOptions& options)
{
    try {
        RawSource raw;
        std::string error;
        if (!raw.load(data, size, error))
            return failure(error);
        return convertLoaded(raw, name, target, options);
    } catch (const std::exception& e) {
        return failure(std::string("conversion failed: ") + e.what());
    }
}

ConvertResult extractOriginalRaw(const std::string& dng, const std::string& target)
{
    try {
        std::string error;
        std::vector<std::uint8_t> blob, digest, data;
        if (!readTagBlob(dng, kTagOriginalRawFileData, blob, error))
            return failure("no embedded original: " + error);
        std::uint8_t actual[16];
        md5Digest(blob.data(), blob.size(), actual);
        // A file without a recorded digest is taken as it is.
        if (readTagBlob(dng, kTagOriginalRawFileDigest, digest, error) && (digest.size() != 16 || std::memcmp(digest.data(), actual, 16)))
            return failure("the embedded original does not match its digest");
        if (!unpackOriginal(blob.data(), blob.size(), data))
            return failure("the embedded original is corrupt");
        AtomicOutput output(target);
        if (!output.open(error))
            return failure(error);
        std::size_t written = 0;
        while (written < data.size()) {
            const ssize_t n = ::write(output.fd(), data.data() + written, data.size() - written);
            if (n <= 0)
                return failure("cannot write " + target);
            written += std::size_t(n);
        }
        if (!output.commit(error))
            return failure(error);
        return ConvertResult{true, {}};
    } catch (const std::exception& e) {
        return failure(std::string("extraction failed: ") + e.what());
    }
}

} // namespace lumen
