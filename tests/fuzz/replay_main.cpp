// Runs a fuzz target over saved inputs without libFuzzer, so the corpus and
// every crash input found later replay in the plain test suite (any
// compiler, no sanitizer needed). Arguments are files or directories; the
// files of a directory run in name order. Fails when no input was found.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int *argc, char ***argv);

namespace {

bool run_file(const std::filesystem::path &path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        std::fprintf(stderr, "cannot read %s\n", path.c_str());
        return false;
    }
    const std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    // A copy of exactly the input's size, so reads past its end are caught
    // by a sanitizer when there is one.
    std::vector<std::uint8_t> input(bytes.begin(), bytes.end());
    std::fprintf(stderr, "replaying %s (%zu bytes)\n", path.c_str(), input.size());
    static std::uint8_t nothing = 0;  // libFuzzer never passes a null pointer either
    LLVMFuzzerTestOneInput(input.empty() ? &nothing : input.data(), input.size());
    return true;
}

}  // namespace

int main(int argc, char **argv) {
    if (LLVMFuzzerInitialize != nullptr) LLVMFuzzerInitialize(&argc, &argv);
    std::size_t replayed = 0;
    for (int i = 1; i < argc; ++i) {
        const std::filesystem::path arg(argv[i]);
        std::vector<std::filesystem::path> files;
        if (std::filesystem::is_directory(arg)) {
            for (const auto &entry : std::filesystem::directory_iterator(arg)) {
                if (entry.is_regular_file()) files.push_back(entry.path());
            }
            std::sort(files.begin(), files.end());
        } else {
            files.push_back(arg);
        }
        for (const auto &file : files) {
            if (!run_file(file)) return 1;
            ++replayed;
        }
    }
    std::printf("%zu inputs replayed\n", replayed);
    return replayed > 0 ? 0 : 1;
}
