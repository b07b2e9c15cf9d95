#include "links/ProcessInfo.h"

#include "foundation/GLibHandles.h"

#include <glib.h>
#include <memory>

namespace corvane {

namespace {

struct KeyFileRelease {
    void operator()(GKeyFile* file) const { g_key_file_unref(file); }
};

std::string stringKey(GKeyFile* file, const char* key, bool localized = false) {
    constexpr const char* kGroup = "Desktop Entry";
    return takeGString(localized ? g_key_file_get_locale_string(file, kGroup, key, nullptr, nullptr)
                                 : g_key_file_get_string(file, kGroup, key, nullptr));
}

// The program of an Exec line: its first word, without quotes or a folder.
std::string programOf(const std::string& command) {
    gint count = 0;
    gchar** words = nullptr;
    if (command.empty() || !g_shell_parse_argv(command.c_str(), &count, &words, nullptr))
        return {};
    std::string first = count > 0 ? words[0] : "";
    g_strfreev(words);
    return std::filesystem::path(first).filename().string();
}

} // namespace

DesktopEntries::DesktopEntries(const std::vector<std::filesystem::path>& folders) {
    for (const auto& folder : folders) {
        std::error_code error;
        for (const auto& item : std::filesystem::directory_iterator(folder, error))
            if (item.path().extension() == ".desktop")
                read(item.path());
    }
}

void DesktopEntries::read(const std::filesystem::path& file) {
    std::unique_ptr<GKeyFile, KeyFileRelease> keys(g_key_file_new());
    if (!g_key_file_load_from_file(keys.get(), file.c_str(), G_KEY_FILE_NONE, nullptr))
        return;
    if (stringKey(keys.get(), "Type") != "Application" || stringKey(keys.get(), "Hidden") == "true")
        return;
    Entry entry{file.filename().string(), stringKey(keys.get(), "Name", true),
                stringKey(keys.get(), "Icon")};
    for (const char* key : {"TryExec", "Exec"}) {
        const std::string program = programOf(stringKey(keys.get(), key));
        if (!program.empty())
            byProgram_.emplace(program, entry);
    }
}

std::vector<std::filesystem::path> DesktopEntries::standardFolders() {
    std::vector<std::filesystem::path> folders{std::filesystem::path(g_get_user_data_dir()) /
                                               "applications"};
    for (const gchar* const* dir = g_get_system_data_dirs(); *dir; ++dir)
        folders.push_back(std::filesystem::path(*dir) / "applications");
    return folders;
}

const DesktopEntries::Entry* DesktopEntries::entryForProgram(const std::string& fileName) const {
    const auto found = byProgram_.find(fileName);
    return found == byProgram_.end() ? nullptr : &found->second;
}

Value processInfo(const SysRoot& root, const DesktopEntries& entries, long pid) {
    const std::string folder = "/proc/" + std::to_string(pid);
    const auto comm = root.readAttribute(folder + "/comm");
    if (!comm)
        return Value::dict();
    // A kernel thread or another user's process has no readable program: the name is all.
    std::string path = root.readLink(folder + "/exe").value_or("");
    if (path.ends_with(" (deleted)"))
        path.resize(path.size() - 10);
    std::string program = path.empty() ? "" : std::filesystem::path(path).filename().string();
    if (program.empty()) {
        const auto command = root.readFile(folder + "/cmdline", 4096).value_or("");
        program = std::filesystem::path(std::string(command.c_str())).filename().string();
    }
    Value info = Value::dict({{"pid", Value(static_cast<long long>(pid))},
                              {"name", Value(program.empty() ? *comm : program)},
                              {"executable", Value(program)},
                              {"path", Value(path)}});
    const auto* entry = entries.entryForProgram(program.empty() ? *comm : program);
    if (entry) {
        if (!entry->name.empty())
            info.set("name", Value(entry->name));
        info.set("icon", Value(entry->icon));
        info.set("desktopEntry", Value(entry->id));
    }
    return info;
}

} // namespace corvane
