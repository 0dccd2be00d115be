#pragma once

#include <QString>
#include <string>
#include <vector>

namespace vells::assistants {

// One language's text problems, as the measuring found them.
struct TextProblem {
  std::string locale;
  std::vector<std::string> issues;
  friend bool operator==(const TextProblem&, const TextProblem&) = default;
};

// The chat's words to the AI tools. Every prompt is joined from fixed pieces,
// and their wording is the contract with the tools.
namespace chat_prompt {

// The standing instructions given on every turn.
QString system();
// The turn: the page's state as JSON, how to look at its render, the request.
QString turn(const QString& state, const QString& request);
// The request of a repair turn: what the measuring found, language by language.
QString repairRequest(const std::vector<TextProblem>& problems);

}  // namespace chat_prompt
}  // namespace vells::assistants
