#pragma once

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <morvantic/morvantic.h>
#include <stdlib.h>
#include <string>
#include <vector>

/// A folder of its own for a test, and the log that the library writes into it.
class host_log {
public:
    host_log() {
        std::string path = testing::TempDir() + "morvantic-XXXXXX";
        folder = mkdtemp(path.data());
    }

    host_log(const host_log&) = delete;
    host_log& operator=(const host_log&) = delete;

    ~host_log() {
        mv_shutdown();
        std::filesystem::remove_all(folder);
    }

    unsigned short open() const { return mv_init(engine::to_wide(folder.string()).c_str()); }

    /// All lines, each from its level word on and without the number of the source line.
    std::vector<std::string> lines() const {
        std::vector<std::string> result;
        std::ifstream file(folder / "morvantic.log");
        for (std::string line; std::getline(file, line);) {
            line.erase(0, line.find(") ") + 2);
            const std::size_t number = line.find('(');
            if (number != std::string::npos) line.erase(number, line.find("): ") - number + 1);
            result.push_back(line);
        }
        return result;
    }

    std::filesystem::path folder;
};
