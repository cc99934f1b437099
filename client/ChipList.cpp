#include "client/ChipList.h"

#include <fmt/format.h>
#include <rapidjson/document.h>

#include <algorithm>
#include <optional>
#include <utility>

#include "client/Text.h"

namespace KorvoCtl {

namespace {

Problem notUnderstood() {
  return Problem{ExitStatus::kFailed, "the agent's list of chips is not understood"};
}

// A name of digits alone cannot be told from a number, and the number is meant.
std::optional<std::uint32_t> findChip(std::string_view wanted, const std::vector<Chip>& chips) {
  const std::optional<std::uint32_t> number = numberFrom<std::uint32_t>(wanted);
  if (wanted.empty()) {
    // Not even where a chip has no name.
    return std::nullopt;
  }
  const auto found = std::find_if(chips.begin(), chips.end(), [&](const Chip& chip) {
    return number ? chip.id == *number : chip.name == wanted;
  });
  return found == chips.end() ? std::nullopt : std::optional(found->id);
}

std::string knownChips(const std::vector<Chip>& chips) {
  std::string list;
  for (const Chip& chip : chips) {
    list += fmt::format("{}{} ({})", list.empty() ? "" : ", ", chip.id, chip.name);
  }
  return list.empty() ? "the agent has none" : "the agent has " + list;
}

}  // namespace

Result<std::vector<Chip>> parseChips(std::string_view json) {
  rapidjson::Document document;
  document.Parse<rapidjson::kParseIterativeFlag>(json.data(), json.size());
  if (document.HasParseError() || !document.IsObject()) {
    return notUnderstood();
  }
  const auto list = document.FindMember("chips");
  if (list == document.MemberEnd() || !list->value.IsArray()) {
    return notUnderstood();
  }
  std::vector<Chip> chips;
  for (const auto& item : list->value.GetArray()) {
    if (!item.IsObject()) {
      return notUnderstood();
    }
    const auto id = item.FindMember("id");
    if (id == item.MemberEnd() || !id->value.IsUint() || id->value.GetUint() > kMaxChipId) {
      return notUnderstood();
    }
    Chip chip{.id = id->value.GetUint(), .name = {}};
    const auto name = item.FindMember("name");
    if (name != item.MemberEnd() && name->value.IsString()) {
      chip.name.assign(name->value.GetString(), name->value.GetStringLength());
    }
    chips.push_back(std::move(chip));
  }
  return chips;
}

std::string allChips(const std::vector<Chip>& chips) {
  std::string list;
  for (const Chip& chip : chips) {
    list += fmt::format("{}{}", list.empty() ? "" : ",", chip.id);
  }
  return list;
}

Result<std::string> resolveChip(std::string_view wanted, const std::vector<Chip>& chips) {
  const std::optional<std::uint32_t> id = findChip(wanted, chips);
  return id ? Result<std::string>(fmt::format("{}", *id))
            : Problem{ExitStatus::kUsage,
                      fmt::format("there is no chip '{}'; {}", wanted, knownChips(chips))};
}

Result<std::string> resolveChips(std::string_view wanted, const std::vector<Chip>& chips) {
  std::string list;
  for (const std::string_view piece : split(wanted, ',')) {
    Result<std::string> chip = resolveChip(piece, chips);
    if (problemOf(chip) != nullptr) {
      return chip;
    }
    list += fmt::format("{}{}", list.empty() ? "" : ",", std::get<std::string>(chip));
  }
  return list;
}

}  // namespace KorvoCtl
