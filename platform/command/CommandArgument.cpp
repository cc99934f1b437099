#include "platform/command/CommandArgument.h"

#include "text/Printable.h"

namespace AgentCommand {

ArgumentNote::ArgumentNote(std::string_view name, std::string_view text)
    : argument_(std::string(name) + " " + Text::inQuotes(text)) {}

ArgumentNote::~ArgumentNote() = default;

std::string messageOf(const std::exception& exception) {
  const auto* const note = dynamic_cast<const ArgumentNote*>(&exception);
  return note == nullptr ? exception.what() : note->argument() + ": " + exception.what();
}

}  // namespace AgentCommand
