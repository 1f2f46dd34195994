// A camera raw file decoded with LibRaw: its description, its mosaic data
// and renderings of it. The file's bytes are held in memory for the decoder
// and for embedding.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "DngImage.h"

class LibRaw;

namespace lumen {

class GuardedStream;

class RawSource {
public:
    RawSource();
    ~RawSource();
    RawSource(const RawSource&) = delete;
    RawSource& operator=(const RawSource&) = delete;

    // Maps and unpacks the file. False, with a reason in `error`, when the
    // file cannot be read, is no raw file LibRaw knows, or is shorter than
    // the image it claims (a stripped or truncated file: the decoder had to
    // read past its end).
    bool load(const std::string& path, std::string& error);
    // The same from bytes in memory; `data` must outlive this object.
    bool load(const std::uint8_t* data, std::size_t size, std::string& error);

    const CameraInfo& camera() const { return m_camera; }
    const std::uint8_t* fileData() const { return m_data; }
    std::size_t fileSize() const { return m_size; }

    // True when the sensor data is a mosaic that a CFA DNG can hold.
    bool hasCfa() const { return m_hasCfa; }
    // The whole sensor area (borders included), its layout and levels.
    // Only when hasCfa().
    ImageView cfaImage() const;
    const CfaLayout& cfaLayout() const { return m_layout; }
    const Levels& cfaLevels() const { return m_levels; }

    // Demosaiced, camera colour space, linear, black subtracted and scaled
    // to 0..65535, no white balance: three samples per pixel of the visible
    // area. False with a reason when LibRaw cannot process the image.
    bool renderLinear(std::vector<std::uint16_t>& rgb, std::uint32_t& width, std::uint32_t& height,
                      std::string& error);
    // An sRGB 8-bit rendering with the camera's white balance, not rotated,
    // scaled down so that its long side is at most `longSide` (0: full size).
    bool renderPreview(unsigned longSide, std::vector<std::uint8_t>& rgb, std::uint32_t& width,
                       std::uint32_t& height, std::string& error);

private:
    bool decode(std::string& error);
    void describeCamera();
    bool describeMosaic();

    std::unique_ptr<LibRaw> m_raw;
    std::unique_ptr<GuardedStream> m_stream;
    void* m_mapped = nullptr;
    const std::uint8_t* m_data = nullptr;
    std::size_t m_size = 0;
    CameraInfo m_camera;
    bool m_hasCfa = false;
    CfaLayout m_layout;
    Levels m_levels;
};

} // namespace lumen
