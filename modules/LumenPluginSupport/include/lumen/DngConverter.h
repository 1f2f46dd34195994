// Camera raw files to DNG 1.4: the converter behind the plug-in's raw
// conversion, the rawdng tool and the benchmark.
//
// A conversion decodes the raw file with LibRaw and writes either the sensor
// mosaic as it is (bit for bit) or a demosaiced linear image, with the
// colour matrix, levels, as-shot neutral, crop, camera names, orientation
// and date that a raw developer needs. The output is written unnamed in the
// target's folder and given its name only when complete: on failure, or if
// the process dies, no partial file is left and an existing target is
// untouched. Functions are safe to call from several threads at once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace lumen {

enum class PreviewSize { None = 0, Medium = 1, Full = 2 };

struct DngOptions {
    PreviewSize preview = PreviewSize::Medium; // Medium: 1024 pixels on the long side
    bool compressed = true;                    // lossless JPEG tiles, else uncompressed
    bool linear = false;                       // demosaiced instead of the mosaic
    bool embedOriginal = false;                // the raw file itself, extractable again
};

struct ConvertResult {
    bool ok = false;
    std::string error; // why not, when !ok
    explicit operator bool() const { return ok; }
};

// Converts the raw file at `source` (a UTF-8 path) into a DNG at `target`,
// replacing any file there.
ConvertResult convertToDng(const std::string& source, const std::string& target, const DngOptions& options);

// The same from the raw file's bytes; `name` is recorded as the original's
// file name when it is embedded.
ConvertResult convertToDng(const std::uint8_t* data, std::size_t size, const std::string& name,
                           const std::string& target, const DngOptions& options);

// Writes the original raw file embedded in the DNG at `dng` to `target`,
// after checking it against its recorded digest.
ConvertResult extractOriginalRaw(const std::string& dng, const std::string& target);

} // namespace lumen
