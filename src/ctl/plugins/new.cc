#include "ctl/plugins/new.h"

#include "core/settings/settings.h"
#include "ctl/command/command_line.h"
#include "ctl/host/host.h"
#include "ctl/host/plugin_survey.h"
#include "ctl/plugins/template.h"
#include "ctl/plugins/wrapped.h"
#include "ctl/reports/name_conflicts.h"
#include "ctl/show/failure.h"
#include "platform/sys/atomic_file.h"
#include "platform/sys/host_root.h"
#include "store/report_name.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <iterator>
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
    std::string language;                   // one of kPluginLanguages
    std::string frequency;                  // one of Sentrel::kQueueNames
    std::string directory;                  // for the files; empty: the host's own directories
    std::string root;                       // as Host has it
    std::vector<std::string> command = {};  // to wrap; empty without --wrap

    bool IsCpp() const { return language == "cpp"; }
};

struct NewFile {
    std::string path;  // below the host root
    std::string text;  // of a link: its target
    mode_t mode = kTextMode;
    bool isLink = false;
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
    if (std::ranges::find(Sentrel::kQueueNames, frequency) == Sentrel::kQueueNames.end()) {
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
        RefuseName(name, "its configuration would be that of the daemon");
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

// A wrapped check's link and configuration.
std::vector<NewFile> WrapFiles(const NewPlugin& plugin) {
    constexpr const char* kProgram = "../../wrap";  // seen from the plugin directory
    const nlohmann::ordered_json configuration = {{"command", plugin.command}};
    return {{Sys::HostPath(kWrapDirectory + plugin.name + ".json"),
             configuration.dump(4, ' ', false, nlohmann::json::error_handler_t::replace) + "\n"},
            {Sys::HostPath(Sentrel::kPluginDirectory + plugin.name), kProgram, 0, true}};
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
    if (!plugin.command.empty()) {
        std::vector<NewFile> files = WrapFiles(plugin);
        files.push_back(std::move(entry));
        return files;
    }
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
    if (file.isLink) {
        if (::symlink(file.text.c_str(), file.path.c_str()) != 0) {
            ThrowUnwritable(file.path, errno);
        }
        return;
    }
    try {
        Sys::CreateFile(file.path, file.text, file.mode);
    } catch (const std::system_error& error) {
        ThrowUnwritable(file.path, error.code().value());
    }
}

void CreateFolderOf(const NewFile& file) {
    const std::filesystem::path folder = std::filesystem::absolute(file.path).parent_path();
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) {
        ThrowUnwritable(folder, error.value());
    }
}

// All or none.
void WriteAll(const std::vector<NewFile>& files, bool areForHost) {
    std::size_t written = 0;
    try {
        for (const NewFile& file : files) {
            if (areForHost) {
                CreateFolderOf(file);
            }
            Write(file);
            ++written;
        }
    } catch (...) {
        while (written > 0) {
            (void)::unlink(files[--written].path.c_str());  // created above
        }
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
    if (plugin.language == "python") {
        output << "  apt install python3-sentrel\n";
    }
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
    if (built != program && plugin.command.empty()) {
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
    if (!plugin.command.empty()) {
        output << "\nTo remove it:\n  rm";
        for (const NewFile& file : files) {
            output << ' ' << file.path;
        }
        output << '\n';
    }
}

// Throws UsageError.
void CheckCommand(const Arguments& arguments) {
    const bool hasCommand = arguments.operands.size() > 1;
    if (!arguments.options.Has("--wrap")) {
        if (hasCommand) {
            throw UsageError("unexpected operand \"" + arguments.operands[1] + "\"",
                             "to create a plugin from a check command, add --wrap");
        }
        return;
    }
    if (!hasCommand || !arguments.operands[1].starts_with('/')) {
        throw UsageError("--wrap needs a command whose program is an absolute path",
                         "give it after --, for example -- /usr/lib/nagios/plugins/check_load");
    }
    if (arguments.options.Has("--language") || arguments.options.Has("--directory")) {
        throw UsageError("--wrap excludes --language and --directory", "leave them out");
    }
}

}  // namespace

void RunPluginNew(const Arguments& arguments, std::ostream& output) {
    const GivenOptions& options = arguments.options;
    const auto valueOr = [&options](std::string_view option, const char* usual) {
        return options.Has(option) ? options.Value(option) : usual;
    };
    CheckCommand(arguments);
    const NewPlugin plugin{
        .name = arguments.operands.front(),
        .language = valueOr("--language", kPluginLanguages.front()),
        .frequency = valueOr("--frequency", Sentrel::kQueueNames.front()),
        .directory = options.Value("--directory"),
        .root = HostOf(options).root,
        .command = {std::next(arguments.operands.begin()), arguments.operands.end()}};
    CheckNewName(plugin.name);
    const std::vector<NewFile> files = NewFiles(plugin);
    RefuseExisting(files);
    CheckConflicts(plugin.name, SurveyPlugins());
    WriteAll(files, plugin.directory.empty());
    WriteAdvice(plugin, files, output);
}

}  // namespace Ctl
