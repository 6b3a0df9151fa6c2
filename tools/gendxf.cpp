// gendxf: writes a large, realistic DXF drawing for benchmarks and interoperability checks.
#include "DxfGenerator.h"

#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

namespace {

void printUsage(std::FILE* out) {
    std::fputs("usage: gendxf [--layers N] [--entities M] [--version R2018|R2000] [--seed S]\n"
               "              [--crlf] OUT.dxf\n"
               "       gendxf [options] --cache-dir DIR\n"
               "  --cache-dir DIR  write the drawing into DIR under a name made of the options,\n"
               "                   unless it is there already, and print its path\n",
               out);
}

bool parseCount(const char* text, long long max, long long* value) {
    const char* end = text + std::strlen(text);
    long long parsed = 0;
    const auto [stop, ec] = std::from_chars(text, end, parsed);
    if (ec != std::errc() || stop != end || parsed < 0 || parsed > max)
        return false;
    *value = parsed;
    return true;
}

/// `value` with `decimals` decimals, the same in every locale.
std::string fixedText(double value, int decimals) {
    char buf[64];
    const auto [end, ec] =
        std::to_chars(buf, buf + sizeof buf, value, std::chars_format::fixed, decimals);
    return ec == std::errc() ? std::string(buf, end) : std::string("?");
}

} // namespace

int main(int argc, char** argv) {
    tvtools::DxfGeneratorOptions options;
    std::string out;
    std::string cacheDir;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        const bool hasValue = i + 1 < argc;
        long long number = 0;
        if (arg == "-h" || arg == "--help") {
            printUsage(stdout);
            return 0;
        } else if (arg == "--crlf") {
            options.crlf = true;
        } else if ((arg == "--layers" || arg == "--entities") && hasValue) {
            if (!parseCount(argv[++i], 100'000'000, &number)) {
                std::fprintf(stderr, "gendxf: %s needs a count from 0 to 100000000, not '%s'\n",
                             arg.c_str(), argv[i]);
                return 2;
            }
            (arg == "--layers" ? options.layers : options.entities) = static_cast<int>(number);
        } else if (arg == "--seed" && hasValue) {
            if (!parseCount(argv[++i], 0x7FFFFFFFFFFFFFFFll, &number)) {
                std::fprintf(stderr, "gendxf: bad seed '%s'\n", argv[i]);
                return 2;
            }
            options.seed = static_cast<std::uint64_t>(number);
        } else if (arg == "--version" && hasValue) {
            if (!tvtools::parseDxfVersion(argv[++i], &options.version)) {
                std::fprintf(stderr, "gendxf: unknown version '%s' (R2018 or R2000)\n", argv[i]);
                return 2;
            }
        } else if (arg == "--cache-dir" && hasValue) {
            cacheDir = argv[++i];
        } else if (!arg.empty() && arg[0] != '-' && out.empty()) {
            out = arg;
        } else {
            std::fprintf(stderr, "gendxf: unexpected argument '%s'\n", arg.c_str());
            printUsage(stderr);
            return 2;
        }
    }
    if (out.empty() == cacheDir.empty()) {
        printUsage(stderr);
        return 2;
    }

    std::string error;
    if (!cacheDir.empty()) {
        std::string path;
        if (!tvtools::ensureCachedDxf(options, cacheDir, &path, &error)) {
            std::fprintf(stderr, "gendxf: %s\n", error.c_str());
            return 1;
        }
        std::printf("%s\n", path.c_str());
        return 0;
    }

    const auto start = std::chrono::steady_clock::now();
    if (!tvtools::writeDxf(options, out, &error)) {
        std::fprintf(stderr, "gendxf: %s\n", error.c_str());
        return 1;
    }
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    std::error_code ec;
    const double megabytes = static_cast<double>(std::filesystem::file_size(out, ec)) / 1e6;
    std::fprintf(stderr, "gendxf: %s: %s, %d layers, %d entities, %s MB in %s s\n", out.c_str(),
                 tvtools::dxfVersionName(options.version), options.layers, options.entities,
                 fixedText(megabytes, 1).c_str(), fixedText(seconds, 2).c_str());
    return 0;
}
