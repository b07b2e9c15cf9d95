#pragma once

#include <CLI/CLI.hpp>
#include <string>

// `corvanebar menu`, `menu toggle TITLE`, `language [KEY|system]`.
struct MenuOptions {
    CLI::App* menu = nullptr;
    CLI::App* toggle = nullptr;
    CLI::App* language = nullptr;
    std::string title;
    std::string key;
};

void addMenuCommands(CLI::App& app, MenuOptions& options);
// Whether one of these commands was given.
bool menuCommandParsed(const MenuOptions& options);
int runMenuCommand(const MenuOptions& options);
