#pragma once

#include <QString>
#include <QStringList>
#include <chrono>
#include <optional>

namespace vells::assistants {

// Runs a short command to its end in the application's own environment and
// returns its standard output, trimmed, or nothing for a failed launch, output
// that isn't UTF-8, empty output or a command still running at `limit` (then
// it and everything it started are killed). Standard input and error are the
// null device; the exit status is not looked at. Blocking, callable from any
// thread.
std::optional<QString> runShortCommand(const QString& program, const QStringList& arguments,
                                       std::chrono::milliseconds limit);

// The last non-empty line of a login shell's answer: what a chatty profile
// prints before it is not part of the answer.
QString lastLine(const QString& output);

}  // namespace vells::assistants
