// rawdng: converts one camera raw file to DNG with the plug-in's converter.
#include <cstdio>
#include <cstring>
#include <string>

#include "lumen/DngConverter.h"

namespace {

const char kUsage[] =
    "Usage: rawdng [--preview none|medium|full] [--uncompressed] [--linear] [--embed] IN OUT\n"
    "       rawdng --extract DNG OUT\n"
    "Converts the camera raw file IN to the DNG file OUT.\n"
    "  --preview SIZE   JPEG preview: none, medium (1024 pixels, the default) or full size\n"
    "  --uncompressed   store the image uncompressed instead of lossless JPEG\n"
    "  --linear         store a demosaiced linear image instead of the sensor mosaic\n"
    "  --embed          embed IN itself, so that it can be extracted again\n"
    "  --extract        write the raw file embedded in DNG to OUT\n"
    "  --help           show this text\n";

int usageError(const char* message, const char* argument)
{
    std::fprintf(stderr, "rawdng: %s%s\n%s", message, argument, kUsage);
    return 2;
}

} // namespace

int main(int argc, char** argv)
{
    lumen::DngOptions options;
    bool extract = false;
    const char* paths[2] = {};
    int pathCount = 0;
    for (int i = 1; i < argc; ++i) {
        const char* arg = argv[i];
        if (!std::strcmp(arg, "--help")) {
            std::fputs(kUsage, stdout);
            return 0;
        } else if (!std::strcmp(arg, "--preview")) {
            if (++i == argc)
                return usageError("--preview needs a size", "");
            if (!std::strcmp(argv[i], "none"))
                options.preview = lumen::PreviewSize::None;
            else if (!std::strcmp(argv[i], "medium"))
                options.preview = lumen::PreviewSize::Medium;
            else if (!std::strcmp(argv[i], "full"))
                options.preview = lumen::PreviewSize::Full;
            else
                return usageError("unknown preview size: ", argv[i]);
        } else if (!std::strcmp(arg, "--uncompressed")) {
            options.compressed = false;
        } else if (!std::strcmp(arg, "--linear")) {
            options.linear = true;
        } else if (!std::strcmp(arg, "--embed")) {
            options.embedOriginal = true;
        } else if (!std::strcmp(arg, "--extract")) {
            extract = true;
        } else if (arg[0] == '-' && arg[1] != '\0') {
            return usageError("unknown option: ", arg);
        } else if (pathCount == 2) {
            return usageError("too many arguments: ", arg);
        } else {
            paths[pathCount++] = arg;
        }
    }
    if (pathCount != 2)
        return usageError("expected an input and an output file", "");

    const lumen::ConvertResult result =
        extract ? lumen::extractOriginalRaw(paths[0], paths[1]) : lumen::convertToDng(paths[0], paths[1], options);
    if (!result) {
        std::fprintf(stderr, "rawdng: %s: %s\n", paths[0], result.error.c_str());
        return 1;
    }
    return 0;
}
