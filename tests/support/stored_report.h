// Report directories as the roller leaves them, made without a roller: a stored file and its link.
#pragma once

#include <cstdint>
#include <ctime>
#include <filesystem>
#include <string>
#include <string_view>

namespace Test {

// What a report document says; `unstructured` is JSON text.
struct ReportText {
    std::string_view name = "cpu";
    std::string_view time = "2024-03-05T14:07:09+00:00";
    std::int64_t status = 0;
    std::string_view unstructured = R"({"reason":"fine"})";

    std::string Document() const;
};

// Writes `document` to NAME-0.json below `directory` and points the link NAME.json at it. `name`
// may begin with a subdirectory, which is made when it is missing. Gives the stored file's path.
// Throws std::system_error.
std::filesystem::path StoreReport(const std::filesystem::path& directory, std::string_view name,
                                  std::string_view document);

// Throws std::system_error.
void SetModified(const std::filesystem::path& file, std::time_t modified);

}  // namespace Test
