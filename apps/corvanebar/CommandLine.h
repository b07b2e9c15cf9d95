#pragma once

#include <CLI/CLI.hpp>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>

// What every command of `corvanebar` shares: reading the arguments, checking numbers, and making
// sure that what was printed reached its reader. Exit statuses: 0 done, 1 the work or the output
// failed, 2 the command line was wrong.
namespace corvane::cli {

inline constexpr int kFailed = 1;
inline constexpr int kUsageError = 2;

// A finite decimal number within [min, max]; the message says whether the text is no number,
// no finite one ("nan", "inf") or out of range.
CLI::Validator finiteNumber(double min, double max);
// A whole number within [min, max], with the same kind of messages.
CLI::Validator wholeNumber(long min, long max);

// Parses the arguments. Nothing when the command should run; otherwise the exit status: 0 after
// printing the help, 2 after printing what is wrong with the arguments.
std::optional<int> parseArguments(CLI::App& app, int argc, const char* const* argv,
                                  std::ostream& out, std::ostream& err);

// Whether everything written to `out` so far has reached its reader; flushes it.
bool outputReached(std::ostream& out);

// Run once a command is done: flushes the standard output, and when it could not be written (a
// full disk, a closed pipe) says so, unless the reader left on purpose, and turns a success into
// a failure. Returns the exit status.
int finishOutput(int status, std::ostream& err);

// JSON text with the C1 control characters, which some terminals obey as escapes, written as
// \u escapes; JSON writers leave those as they are.
std::string escapeC1Controls(std::string_view json);

} // namespace corvane::cli
