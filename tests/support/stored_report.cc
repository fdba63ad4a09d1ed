#include "support/stored_report.h"

#include "support/descriptors.h"
#include "support/host_directory.h"

#include <fcntl.h>
#include <sys/stat.h>

namespace Test {

std::string ReportText::Document() const {
    return R"({"structured":{"name":")" + std::string(name) + R"(","time":")" + std::string(time) +
           R"(","status":)" + std::to_string(status) + R"(},"unstructured":)" +
           std::string(unstructured) + "}";
}

std::filesystem::path StoreReport(const std::filesystem::path& directory, std::string_view name,
                                  std::string_view document) {
    std::filesystem::path file = directory / (std::string(name) + "-0.json");
    std::filesystem::create_directories(file.parent_path());
    WriteFile(file, document);
    const std::filesystem::path link = directory / (std::string(name) + ".json");
    std::filesystem::remove(link);
    std::filesystem::create_symlink(file, link);
    return file;
}

void SetModified(const std::filesystem::path& file, std::time_t modified) {
    const timespec times[2] = {{.tv_sec = modified, .tv_nsec = 0},
                               {.tv_sec = modified, .tv_nsec = 0}};
    OrThrow(::utimensat(AT_FDCWD, file.c_str(), times, 0), file.string());
}

}  // namespace Test
