// zstrc: the dictionary compiler. Turns text dictionaries into binary ones
// (either byte order), binary ones back into text, and checks dictionaries:
// text ones line by line, both kinds for access keys that two texts of one
// dialog share.
#include "AcceleratorClash.h"
#include "Dictionary.h"
#include "TextDictionary.h"

#include "PtUTF.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

namespace {

const char kUsage[] =
    "usage: zstrc compile [--big-endian|--little-endian|--host-order] [--locale NAME] INPUT OUTPUT\n"
    "       zstrc decompile [--utf16le|--utf16be|--utf8] INPUT OUTPUT\n"
    "       zstrc check INPUT...\n";

bool readFile(const std::string& path, std::string& bytes)
{
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        std::cerr << "zstrc: cannot open " << path << "\n";
        return false;
    }
    bytes.assign(std::istreambuf_iterator<char>(in), {});
    return true;
}

// Writes beside the target and renames over it, so a failed run leaves any
// previous output as it was.
bool writeFile(const std::string& path, const std::string& bytes)
{
    const std::string temp = path + ".tmp";
    {
        std::ofstream out(temp, std::ios::binary | std::ios::trunc);
        out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        out.flush();
        if (!out) {
            std::cerr << "zstrc: cannot write " << temp << "\n";
            std::remove(temp.c_str());
            return false;
        }
    }
    if (std::rename(temp.c_str(), path.c_str()) != 0) {
        std::cerr << "zstrc: cannot replace " << path << "\n";
        std::remove(temp.c_str());
        return false;
    }
    return true;
}

bool isBinary(const std::string& bytes)
{
    return bytes.compare(0, 21, "ZString Binary Format") == 0;
}

int report(const std::string& path, const std::vector<quire::LineProblem>& problems)
{
    for (const auto& p : problems)
        std::cerr << path << ":" << p.line << ": " << p.reason << "\n";
    return problems.empty() ? 0 : 1;
}

int reportClashes(const std::string& path, quire::Dictionary& dictionary)
{
    const auto clashes = quire::FindAcceleratorClashes(dictionary);
    for (const auto& c : clashes) {
        const char16_t key[] = {c.key, 0};
        std::cerr << path << ": access key \"" << ptucsToUtf8(reinterpret_cast<const unsigned short*>(key))
                  << "\" taken by both " << c.first << " and " << c.second << "\n";
    }
    return clashes.empty() ? 0 : 1;
}

int compile(const std::vector<std::string>& args)
{
    quire::ByteOrder order = quire::kHostOrder;
    std::string locale;
    std::vector<std::string> files;
    for (std::size_t i = 0; i < args.size(); ++i) {
        if (args[i] == "--big-endian")
            order = quire::kBigEndian;
        else if (args[i] == "--little-endian")
            order = quire::kLittleEndian;
        else if (args[i] == "--host-order")
            order = quire::kHostOrder;
        else if (args[i] == "--locale" && i + 1 < args.size())
            locale = args[++i];
        else
            files.push_back(args[i]);
    }
    if (files.size() != 2) {
        std::cerr << kUsage;
        return 2;
    }
    std::string bytes;
    if (!readFile(files[0], bytes))
        return 2;
    if (!isBinary(bytes) && report(files[0], quire::CheckTextDictionary(bytes.data(), bytes.size())) != 0)
        return 1;
    quire::Dictionary dictionary;
    std::istringstream in(bytes);
    if (!dictionary.Read(in)) {
        std::cerr << "zstrc: " << files[0] << " is not a valid dictionary\n";
        return 1;
    }
    if (!locale.empty())
        dictionary.Locale(locale);
    std::ostringstream out;
    if (dictionary.Serialize(out, order) == 0) {
        std::cerr << "zstrc: cannot serialise " << files[0] << "\n";
        return 1;
    }
    return writeFile(files[1], out.str()) ? 0 : 2;
}

int decompile(const std::vector<std::string>& args)
{
    quire::TextEncoding encoding = quire::TextEncoding::UTF16LE;
    std::vector<std::string> files;
    for (const std::string& arg : args) {
        if (arg == "--utf16le")
            encoding = quire::TextEncoding::UTF16LE;
        else if (arg == "--utf16be")
            encoding = quire::TextEncoding::UTF16BE;
        else if (arg == "--utf8")
            encoding = quire::TextEncoding::UTF8;
        else
            files.push_back(arg);
    }
    if (files.size() != 2) {
        std::cerr << kUsage;
        return 2;
    }
    std::string bytes;
    if (!readFile(files[0], bytes))
        return 2;
    quire::Dictionary dictionary;
    if (!isBinary(bytes) || !dictionary.Read(bytes.data(), bytes.size(), false)) {
        std::cerr << "zstrc: " << files[0] << " is not a valid binary dictionary\n";
        return 1;
    }
    std::ostringstream out;
    std::string error;
    if (!quire::WriteTextDictionary(dictionary, out, encoding, error)) {
        std::cerr << "zstrc: " << error << "\n";
        return 1;
    }
    std::cerr << "zstrc: locale " << dictionary.Locale() << " is not kept in text form\n";
    return writeFile(files[1], out.str()) ? 0 : 2;
}

int check(const std::vector<std::string>& files)
{
    if (files.empty()) {
        std::cerr << kUsage;
        return 2;
    }
    int result = 0;
    for (const std::string& path : files) {
        std::string bytes;
        if (!readFile(path, bytes)) {
            result = 2;
            continue;
        }
        quire::Dictionary dictionary;
        if (isBinary(bytes)) {
            if (!dictionary.Read(bytes.data(), bytes.size(), false)) {
                std::cerr << path << ": corrupt binary dictionary\n";
                result = std::max(result, 1);
                continue;
            }
        } else {
            result = std::max(result, report(path, quire::CheckTextDictionary(bytes.data(), bytes.size())));
            std::istringstream in(bytes);
            dictionary.Read(in);
        }
        result = std::max(result, reportClashes(path, dictionary));
    }
    return result;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::cerr << kUsage;
        return 2;
    }
    const std::string command = argv[1];
    const std::vector<std::string> args(argv + 2, argv + argc);
    if (command == "compile")
        return compile(args);
    if (command == "decompile")
        return decompile(args);
    if (command == "check")
        return check(args);
    std::cerr << kUsage;
    return 2;
}
