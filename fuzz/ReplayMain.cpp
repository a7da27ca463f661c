// Runs a fuzz target as a plain program over files and directories (a corpus), so that
// the corpus is replayed under the sanitizers without libFuzzer.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

namespace {

void replay(std::filesystem::path const& file)
{
    std::ifstream in(file, std::ios::binary);
    std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    LLVMFuzzerTestOneInput(reinterpret_cast<std::uint8_t const*>(bytes.data()), bytes.size());
}

} // namespace

int main(int argc, char** argv)
{
    std::size_t count = 0;
    for (int i = 1; i < argc; ++i) {
        std::filesystem::path path(argv[i]);
        if (std::filesystem::is_directory(path)) {
            for (auto const& entry : std::filesystem::recursive_directory_iterator(path))
                if (entry.is_regular_file())
                    replay(entry.path()), ++count;
        } else if (std::filesystem::is_regular_file(path)) {
            replay(path), ++count;
        } else {
            std::fprintf(stderr, "no such input: %s\n", argv[i]);
            return 2;
        }
    }
    std::printf("replayed %zu inputs\n", count);
    return 0;
}
