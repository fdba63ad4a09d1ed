#include "ctl/plugins/new.h"

#include "core/settings/settings.h"
#include "ctl/command/command_line.h"
#include "ctl/host/host.h"
#include "ctl/host/plugin_survey.h"
#include "ctl/plugins/template.h"
#include "ctl/reports/name_conflicts.h"
#include "ctl/show/failure.h"
#include "platform/sys/atomic_file.h"
#include "platform/sys/host_root.h"
#include "store/report_name.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <ostream>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

namespace Ctl {

namespace {

constexpr mode_t kProgramMode = 0755;
constexpr mode_t kTextMode = 0644;
constexpr std::string_view kPlaceholder = "@NAME@";
// The entry of the service framework's settings, in the same directory as those of the plugins and
// the daemon.
constexpr std::string_view kFrameworkEntryKey = "pellmar";

// The new plugin as the command line describes it.
struct NewPlugin {
    std::string name;
    std::string language;   // one of kPluginLanguages
    std::string frequency;  // one of Sentrel::kQueueNames
    std::string directory;  // for the files; empty: the host's own directories
    std::string root;       // as Host has it

    bool IsCpp() const { return language == "cpp"; }
};

struct NewFile {
    std::string path;  // below the host root
    std::string text;
    mode_t mode = kTextMode;
};

std::string_view TemplateFor(const std::string& language) {
    if (language == "sh") {
        return kShellPlugin;
    }
    if (language == "python") {
        return kPythonPlugin;
    }
    if (language == "cpp") {
        return kCppPlugin;
    }
    throw UsageError("unknown language \"" + language + "\" for --language",
                     "choose sh, python or cpp");
}

void CheckFrequency(const std::string& frequency) {
    if (std::find(Sentrel::kQueueNames.begin(), Sentrel::kQueueNames.end(), frequency) ==
        Sentrel::kQueueNames.end()) {
        throw UsageError("unknown queue \"" + frequency + "\" for --frequency",
                         "choose fast, medium or slow");
    }
}

void RefuseName(const std::string& name, const std::string& why) {
    throw Failure("invalid plugin name \"" + name + "\": " + why, "choose another name");
}

void CheckNewName(const std::string& name) {
    if (!Sentrel::IsReportName(name)) {
        RefuseName(name, "its reports have the same name, which may contain only " +
                             std::string(Sentrel::kReportNameRule));
    }
    if (name.starts_with('.') || name.starts_with('-')) {
        RefuseName(name, "it begins with " + name.substr(0, 1));
    }
    if (name == Sentrel::kDaemonEntryKey || name == kFrameworkEntryKey) {
        RefuseName(name, "its configuration would be the daemon's own");
    }
}

void CheckConflicts(const std::string& name, const PluginSurvey& survey) {
    std::vector<std::string> names{name};
    for (const SurveyedPlugin& plugin : survey.entries) {
        names.push_back(plugin.Name());
    }
    for (const NameConflict& conflict : FindNameConflicts(names)) {
        if (conflict.one == name || conflict.other == name) {
            RefuseName(name, conflict.why);
        }
    }
}

std::string FillIn(std::string_view text, const std::string& name) {
    std::string filled(text);
    for (std::size_t at = 0; (at = filled.find(kPlaceholder, at)) != std::string::npos;) {
        filled.replace(at, kPlaceholder.size(), name);
        at += name.size();
    }
    return filled;
}

// The files of the plugin: the program or its source, and the store entry.
std::vector<NewFile> NewFiles(const NewPlugin& plugin) {
    const std::string& name = plugin.name;
    const std::string& folder = plugin.directory;
    const std::string place = folder.empty() ? "" : folder + (folder.ends_with('/') ? "" : "/");
    NewFile program{place + name, FillIn(TemplateFor(plugin.language), name), kProgramMode};
    if (plugin.IsCpp()) {
        program.path += ".cc";
        program.mode = kTextMode;
    } else if (folder.empty()) {
        program.path = Sys::HostPath(Sentrel::kPluginDirectory + name);
    }
    CheckFrequency(plugin.frequency);
    NewFile entry{folder.empty() ? Sys::HostPath(StoreFilesOf(name).host) : place + name + ".json",
                  "{\"enabled\": true, \"frequency\": \"" + plugin.frequency +
                      "\", \"log_level\": \"info\"}\n",
                  kTextMode};
    return {std::move(program), std::move(entry)};
}

[[noreturn]] void ThrowUnwritable(const std::string& path, int errorNumber) {
    if (errorNumber == EEXIST) {
        throw Failure(path + " already exists", "choose another name, or remove the file");
    }
    throw Failure("cannot write " + path, errorNumber,
                  "run this as root, or choose a directory with --directory");
}

void RefuseExisting(const std::vector<NewFile>& files) {
    for (const NewFile& file : files) {
        struct stat status{};
        if (::lstat(file.path.c_str(), &status) == 0) {
            ThrowUnwritable(file.path, EEXIST);
        }
    }
}

// Never replaces a file that another process has created meanwhile.
void Write(const NewFile& file) {
    try {
        Sys::CreateFile(file.path, file.text, file.mode);
    } catch (const std::system_error& error) {
        ThrowUnwritable(file.path, error.code().value());
    }
}

// Writes both files or none.
void WriteAll(const std::vector<NewFile>& files, const std::string& storeFolder) {
    if (!storeFolder.empty()) {
        std::error_code error;
        std::filesystem::create_directories(storeFolder, error);
        if (error) {
            ThrowUnwritable(storeFolder, error.value());
        }
    }
    Write(files.front());
    try {
        Write(files.back());
    } catch (...) {
        (void)::unlink(files.front().path.c_str());  // created above
        throw;
    }
}

void WriteAdvice(const NewPlugin& plugin, const std::vector<NewFile>& files, std::ostream& output) {
    const std::string& name = plugin.name;
    const std::string program = Sys::HostPath(Sentrel::kPluginDirectory + name);
    const std::string tool =
        "sentrelctl " + (plugin.root.empty() ? "" : "--root " + plugin.root + " ") + "plugin ";
    for (const NewFile& file : files) {
        output << "Created " << file.path << '\n';
    }
    output << "\nNext:\n";
    std::string built = files.front().path;
    if (plugin.IsCpp()) {
        built = built.substr(0, built.size() - 3);  // without ".cc"
        output << "  g++ -std=c++17 -O2 -static " << built << ".cc -o " << built << '\n';
    }
    const bool isForHost = plugin.directory.empty();
    if (!isForHost) {
        output << "  " << tool << "check " << (built.find('/') == std::string::npos ? "./" : "")
               << built << '\n';
    }
    if (built != program) {
        output << "  install -m 755 " << built << ' ' << program << '\n';
    }
    if (!isForHost) {
        output << "  install -D -m 644 " << files.back().path << ' '
               << Sys::HostPath(StoreFilesOf(name).host) << '\n';
    } else {
        output << "  " << tool << "check " << name << '\n';
    }
    const bool isThisMachine = Sys::HostPath("/") == "/";
    output << "  " << tool << "run " << name << '\n'
           << (isThisMachine ? "  systemctl restart sentrel\n"
                             : "  and restart the daemon of that host\n");
}

}  // namespace

void RunPluginNew(const Arguments& arguments, std::ostream& output) {
    const GivenOptions& options = arguments.options;
    const auto valueOr = [&options](std::string_view option, const char* usual) {
        return options.Has(option) ? options.Value(option) : usual;
    };
    const NewPlugin plugin{.name = arguments.operands.front(),
                           .language = valueOr("--language", kPluginLanguages.front()),
                           .frequency = valueOr("--frequency", Sentrel::kQueueNames.front()),
                           .directory = options.Value("--directory"),
                           .root = HostOf(options).root};
    CheckNewName(plugin.name);
    const std::vector<NewFile> files = NewFiles(plugin);
    RefuseExisting(files);
    CheckConflicts(plugin.name, SurveyPlugins());
    WriteAll(files, plugin.directory.empty()
                        ? std::filesystem::path(files.back().path).parent_path()
                        : "");
    WriteAdvice(plugin, files, output);
}

}  // namespace Ctl
