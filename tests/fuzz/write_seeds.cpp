// write_seeds FOLDER: writes the seeds to FOLDER/bmp, gif, png, jpeg, gifcodec and save.
#include <filesystem>

#include "core/library.h"
#include "tests/fuzz/seeds.h"

int main(int count, char** arguments) {
    if (count != 2) return 1;
    orn32::attachProcess(nullptr);
    for (const auto& [target, files] : fuzz::makeSeeds()) {
        const std::string folder = std::string(arguments[1]) + "/" + target;
        std::filesystem::create_directories(folder);
        for (std::size_t i = 0; i < files.size(); i++)
            test::writeFile(folder + "/seed-" + std::to_string(i + 1), files[i]);
    }
    return 0;
}
