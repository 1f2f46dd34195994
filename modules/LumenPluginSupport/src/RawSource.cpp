#include "RawSource.h"

#include <algorithm>
#include <cmath>
#include <cerrno>
#include <cstring>
#include <ctime>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <libraw/libraw.h>

#include "GuardedStream.h"

namespace lumen {

namespace {

std::uint16_t tiffOrientation(int flip)
{
    switch (flip) {
    case 3:
        return 3;
    case 5:
        return 8;
    case 6:
        return 6;
    default:
        return 1;
    }
}

bool invert3(const double (&m)[3][3], double (&out)[3][3])
{
    const double det = m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) -
                       m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
                       m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
    if (std::fabs(det) < 1e-9)
        return false;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) {
            const int a = (j + 1) % 3, b = (j + 2) % 3, c = (i + 1) % 3, d = (i + 2) % 3;
            out[i][j] = (m[a][c] * m[b][d] - m[a][d] * m[b][c]) / det;
        }
    return true;
}

std::string trimmed(const char* text)
{
    std::string s(text);
    while (!s.empty() && s.back() == ' ')
        s.pop_back();
    return s;
}

int lcm(int a, int b)
{
    int x = a, y = b;
    while (y) {
        const int t = x % y;
        x = y;
        y = t;
    }
    return a / x * b;
}

} // namespace

namespace {

// LibRaw reports corrupt data here and decodes on with zeros; the load
// fails instead.
void onDataError(void* stream, const char*, int)
{
    if (stream)
        static_cast<GuardedStream*>(stream)->countDataError();
}

} // namespace

RawSource::RawSource() : m_raw(std::make_unique<LibRaw>(LIBRAW_OPTIONS_NONE))
{
    m_raw->set_dataerror_handler(onDataError, nullptr);
}

RawSource::~RawSource()
{
    // LibRaw reads through the stream until it is recycled.
    m_raw.reset();
    m_stream.reset();
    if (m_mapped)
        ::munmap(m_mapped, m_size);
}

bool RawSource::load(const std::string& path, std::string& error)
{
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        error = "cannot open " + path + ": " + std::strerror(errno);
        return false;
    }
    struct stat info {};
    if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode) || info.st_size <= 0) {
        ::close(fd);
        error = "not a readable file with content: " + path;
        return false;
    }
    // Mapped, not read: the decoder and the embedded copy share the pages.
    void* mapped = ::mmap(nullptr, std::size_t(info.st_size), PROT_READ, MAP_PRIVATE, fd, 0);
    ::close(fd);
    if (mapped == MAP_FAILED) {
        error = "cannot map " + path + ": " + std::strerror(errno);
        return false;
    }
    m_mapped = mapped;
    m_data = static_cast<const std::uint8_t*>(mapped);
    m_size = std::size_t(info.st_size);
    return decode(error);
}

bool RawSource::load(const std::uint8_t* data, std::size_t size, std::string& error)
{
    m_data = data;
    m_size = size;
    return decode(error);
}

bool RawSource::decode(std::string& error)
{
    if (!m_data || m_size == 0) {
        error = "empty file";
        return false;
    }
    m_stream = std::make_unique<GuardedStream>(m_data, m_size, *m_raw);
    m_raw->set_dataerror_handler(onDataError, m_stream.get());
    int rc = m_raw->open_datastream(m_stream.get());
    if (rc != LIBRAW_SUCCESS) {
        error = std::string("not a raw file LibRaw can read: ") + libraw_strerror(rc);
        return false;
    }
    const auto& sizes = m_raw->imgdata.sizes;
    if (sizes.raw_width == 0 || sizes.raw_height == 0 || sizes.width == 0 || sizes.height == 0) {
        error = "the file holds no image";
        return false;
    }
    // No raw coding gets below a bit per pixel on real sensor data; half a
    // bit is a generous floor. Below it the image data cannot be there, and
    // decoding would only make a huge image of zeros.
    if (std::uint64_t(m_size) * 16 < std::uint64_t(sizes.raw_width) * sizes.raw_height) {
        error = "the file is shorter than the image it claims (stripped or truncated)";
        return false;
    }
    m_stream->arm();
    rc = m_raw->unpack();
    if (m_stream->overran()) {
        error = "the file is shorter than the image it claims (stripped or truncated)";
        return false;
    }
    if (rc != LIBRAW_SUCCESS) {
        error = std::string("cannot decode the image: ") + libraw_strerror(rc);
        return false;
    }
    describeCamera();
    m_hasCfa = describeMosaic();
    return true;
}

void RawSource::describeCamera()
{
    const auto& id = m_raw->imgdata.idata;
    const auto& color = m_raw->imgdata.rawdata.color;
    m_camera.make = trimmed(id.make);
    m_camera.model = trimmed(id.model);
    m_camera.uniqueModel = m_camera.make.empty() ? m_camera.model : m_camera.make + " " + m_camera.model;
    m_camera.orientation = tiffOrientation(m_raw->imgdata.sizes.flip);

    const std::time_t stamp = m_raw->imgdata.other.timestamp;
    std::tm local{};
    if (stamp > 0 && localtime_r(&stamp, &local)) {
        char text[32];
        std::strftime(text, sizeof text, "%Y:%m:%d %H:%M:%S", &local);
        m_camera.dateTime = text;
    }

    bool haveMatrix = false;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) {
            m_camera.colorMatrix[i * 3 + j] = color.cam_xyz[i][j];
            haveMatrix = haveMatrix || color.cam_xyz[i][j] != 0.0f;
        }
    if (!haveMatrix) {
        // No published matrix: undo LibRaw's camera-to-sRGB conversion and
        // combine it with XYZ to linear sRGB.
        static const double kRgbFromXyz[3][3] = {
            {3.2404542, -1.5371385, -0.4985314}, {-0.9692660, 1.8760108, 0.0415560}, {0.0556434, -0.2040259, 1.0572252}};
        double rgbCam[3][3], camRgb[3][3];
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j)
                rgbCam[i][j] = color.rgb_cam[i][j];
        if (!invert3(rgbCam, camRgb))
            for (int i = 0; i < 3; ++i)
                for (int j = 0; j < 3; ++j)
                    camRgb[i][j] = i == j;
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j) {
                double sum = 0;
                for (int k = 0; k < 3; ++k)
                    sum += camRgb[i][k] * kRgbFromXyz[k][j];
                m_camera.colorMatrix[i * 3 + j] = float(sum);
            }
    }

    const float* mul = color.cam_mul[0] > 0 && color.cam_mul[1] > 0 && color.cam_mul[2] > 0 ? color.cam_mul
                                                                                              : color.pre_mul;
    for (int c = 0; c < 3; ++c)
        m_camera.asShotNeutral[c] = mul[0] > 0 && mul[1] > 0 && mul[2] > 0 ? mul[1] / mul[c] : 1.0f;
}

bool RawSource::describeMosaic()
{
    const auto& raw = m_raw->imgdata.rawdata;
    const auto& sizes = raw.sizes;
    const auto& id = m_raw->imgdata.idata;
    if (!raw.raw_image || id.colors != 3 || (id.filters < 1000 && id.filters != 9))
        return false;

    CfaLayout layout;
    layout.activeTop = sizes.top_margin;
    layout.activeLeft = sizes.left_margin;
    layout.activeWidth = sizes.width;
    layout.activeHeight = sizes.height;
    if (layout.activeTop + layout.activeHeight > sizes.raw_height ||
        layout.activeLeft + layout.activeWidth > sizes.raw_width)
        return false;

    if (id.filters == 9) {
        layout.patternRows = layout.patternCols = 6;
        for (int r = 0; r < 6; ++r)
            for (int c = 0; c < 6; ++c)
                layout.pattern.push_back(std::uint8_t(id.xtrans[r][c]));
    } else {
        // LibRaw's pattern word describes eight rows of two columns; most
        // sensors repeat it every two rows.
        int rows = 8;
        for (int candidate : {2, 4}) {
            bool repeats = true;
            for (int r = candidate; r < 8 && repeats; ++r)
                for (int c = 0; c < 2; ++c)
                    repeats = repeats && m_raw->FC(r, c) == m_raw->FC(r % candidate, c);
            if (repeats) {
                rows = candidate;
                break;
            }
        }
        layout.patternRows = std::uint16_t(rows);
        layout.patternCols = 2;
        for (int r = 0; r < rows; ++r)
            for (int c = 0; c < 2; ++c) {
                const int colour = m_raw->FC(r, c);
                layout.pattern.push_back(std::uint8_t(colour == 3 ? 1 : colour));
            }
    }
    for (auto colour : layout.pattern)
        if (colour > 2)
            return false;

    const auto& color = raw.color;
    const int cbRows = color.cblack[4] > 0 && color.cblack[4] <= 16 ? int(color.cblack[4]) : 1;
    const int cbCols = color.cblack[5] > 0 && color.cblack[5] <= 16 ? int(color.cblack[5]) : 1;
    const bool cbPattern = color.cblack[4] > 0 && color.cblack[5] > 0 && cbRows == int(color.cblack[4]) &&
                           cbCols == int(color.cblack[5]);
    Levels levels;
    levels.blackRows = std::uint16_t(lcm(layout.patternRows, cbRows));
    levels.blackCols = std::uint16_t(lcm(layout.patternCols, cbCols));
    levels.black.clear();
    for (int r = 0; r < levels.blackRows; ++r)
        for (int c = 0; c < levels.blackCols; ++c) {
            int colour = id.filters == 9 ? id.xtrans[r % 6][c % 6] : m_raw->FC(r, c);
            double value = double(color.black) + color.cblack[colour & 3];
            if (cbPattern)
                value += color.cblack[6 + (r % cbRows) * cbCols + (c % cbCols)];
            levels.black.push_back(float(value));
        }
    if (std::all_of(levels.black.begin(), levels.black.end(), [&](float b) { return b == levels.black[0]; })) {
        levels.black.resize(1);
        levels.blackRows = levels.blackCols = 1;
    }
    levels.white = color.maximum > 0 ? color.maximum : 65535;

    m_layout = std::move(layout);
    m_levels = std::move(levels);
    return true;
}

ImageView RawSource::cfaImage() const
{
    const auto& raw = m_raw->imgdata.rawdata;
    ImageView view;
    view.data = raw.raw_image;
    view.stride = raw.sizes.raw_pitch / sizeof(std::uint16_t);
    view.width = raw.sizes.raw_width;
    view.height = raw.sizes.raw_height;
    view.samplesPerPixel = 1;
    return view;
}

bool RawSource::renderLinear(std::vector<std::uint16_t>& rgb, std::uint32_t& width, std::uint32_t& height,
                             std::string& error)
{
    auto& params = m_raw->imgdata.params;
    params.output_color = 0; // the camera's own colour space
    params.gamm[0] = params.gamm[1] = 1.0;
    params.no_auto_bright = 1;
    params.use_camera_wb = 0;
    params.use_auto_wb = 0;
    for (float& m : params.user_mul)
        m = 1.0f;
    params.half_size = 0;
    params.user_flip = 0;
    params.highlight = 0;
    const int rc = m_raw->dcraw_process();
    if (rc != LIBRAW_SUCCESS) {
        error = std::string("cannot demosaic the image: ") + libraw_strerror(rc);
        return false;
    }
    const auto& sizes = m_raw->imgdata.sizes;
    width = sizes.iwidth;
    height = sizes.iheight;
    const std::size_t pixels = std::size_t(width) * height;
    rgb.resize(pixels * 3);
    const auto* image = m_raw->imgdata.image;
    for (std::size_t i = 0; i < pixels; ++i)
        for (int c = 0; c < 3; ++c)
            rgb[i * 3 + c] = image[i][c];
    return true;
}

bool RawSource::renderPreview(unsigned longSide, std::vector<std::uint8_t>& rgb, std::uint32_t& width,
                              std::uint32_t& height, std::string& error)
{
    auto& params = m_raw->imgdata.params;
    params.output_color = 1; // sRGB
    params.gamm[0] = 1 / 2.4;
    params.gamm[1] = 12.92;
    params.no_auto_bright = 0;
    params.use_camera_wb = 1;
    for (float& m : params.user_mul)
        m = 0.0f;
    params.output_bps = 8;
    params.user_flip = 0;
    const auto& sizes = m_raw->imgdata.sizes;
    params.half_size = longSide > 0 && std::max(sizes.width, sizes.height) / 2 >= longSide;
    int rc = m_raw->dcraw_process();
    libraw_processed_image_t* image = rc == LIBRAW_SUCCESS ? m_raw->dcraw_make_mem_image(&rc) : nullptr;
    if (!image || image->colors != 3 || image->bits != 8) {
        if (image)
            LibRaw::dcraw_clear_mem(image);
        error = std::string("cannot render a preview: ") + libraw_strerror(rc);
        return false;
    }
    const unsigned w = image->width, h = image->height;
    const unsigned side = std::max(w, h);
    if (longSide == 0 || side <= longSide) {
        width = w;
        height = h;
        rgb.assign(image->data, image->data + std::size_t(w) * h * 3);
    } else {
        // Box filter: every output pixel averages the source pixels it covers.
        width = std::max(1u, unsigned(std::uint64_t(w) * longSide / side));
        height = std::max(1u, unsigned(std::uint64_t(h) * longSide / side));
        rgb.assign(std::size_t(width) * height * 3, 0);
        for (unsigned y = 0; y < height; ++y) {
            const unsigned y0 = unsigned(std::uint64_t(y) * h / height);
            const unsigned y1 = std::max(y0 + 1, unsigned(std::uint64_t(y + 1) * h / height));
            for (unsigned x = 0; x < width; ++x) {
                const unsigned x0 = unsigned(std::uint64_t(x) * w / width);
                const unsigned x1 = std::max(x0 + 1, unsigned(std::uint64_t(x + 1) * w / width));
                unsigned sum[3] = {};
                for (unsigned sy = y0; sy < y1; ++sy)
                    for (unsigned sx = x0; sx < x1; ++sx)
                        for (int c = 0; c < 3; ++c)
                            sum[c] += image->data[(std::size_t(sy) * w + sx) * 3 + c];
                const unsigned n = (y1 - y0) * (x1 - x0);
                for (int c = 0; c < 3; ++c)
                    rgb[(std::size_t(y) * width + x) * 3 + c] = std::uint8_t((sum[c] + n / 2) / n);
            }
        }
    }
    LibRaw::dcraw_clear_mem(image);
    return true;
}

} // namespace lumen
