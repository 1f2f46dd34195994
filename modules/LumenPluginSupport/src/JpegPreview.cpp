#include "JpegPreview.h"

#include <csetjmp>
#include <cstdio>
#include <cstdlib>

#include <jpeglib.h>

namespace lumen {

namespace {

struct ErrorManager {
    jpeg_error_mgr base;
    std::jmp_buf jump;
    char message[JMSG_LENGTH_MAX];
};

void onError(j_common_ptr info)
{
    auto* manager = reinterpret_cast<ErrorManager*>(info->err);
    info->err->format_message(info, manager->message);
    std::longjmp(manager->jump, 1);
}

} // namespace

bool encodeJpeg(const std::vector<std::uint8_t>& rgb, std::uint32_t width, std::uint32_t height, int quality,
                std::vector<std::uint8_t>& jpeg, std::string& error)
{
    if (width == 0 || height == 0 || rgb.size() < std::size_t(width) * height * 3) {
        error = "empty preview";
        return false;
    }
    jpeg_compress_struct info{};
    ErrorManager manager{};
    info.err = jpeg_std_error(&manager.base);
    manager.base.error_exit = onError;
    unsigned char* buffer = nullptr;
    unsigned long size = 0;
    // Nothing with a destructor lives between setjmp and a longjmp.
    if (setjmp(manager.jump)) {
        jpeg_destroy_compress(&info);
        std::free(buffer);
        error = std::string("JPEG preview: ") + manager.message;
        return false;
    }
    jpeg_create_compress(&info);
    jpeg_mem_dest(&info, &buffer, &size);
    info.image_width = width;
    info.image_height = height;
    info.input_components = 3;
    info.in_color_space = JCS_RGB;
    jpeg_set_defaults(&info);
    jpeg_set_quality(&info, quality, TRUE);
    jpeg_start_compress(&info, TRUE);
    while (info.next_scanline < info.image_height) {
        JSAMPROW row = const_cast<JSAMPROW>(rgb.data() + std::size_t(info.next_scanline) * width * 3);
        jpeg_write_scanlines(&info, &row, 1);
    }
    jpeg_finish_compress(&info);
    jpeg_destroy_compress(&info);
    jpeg.assign(buffer, buffer + size);
    std::free(buffer);
    return true;
}

} // namespace lumen
