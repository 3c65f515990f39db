#include "tools/rehearse/record.h"

#include <filesystem>
#include <system_error>

#include "loopback/bytes.h"

std::string bytesOf(const nlohmann::ordered_json& value) {
  const std::string text = value.get<std::string>();
  return unescapeBytes(text).value_or(text);
}

std::optional<std::uintmax_t> bytesOfCopy(const nlohmann::ordered_json& item,
                                          const RehearsalFolder& folder) {
  if (!item.contains("copy")) return std::nullopt;
  std::error_code error;
  const auto bytes =
      std::filesystem::file_size(folder.path() + "/" + bytesOf(item.at("copy")), error);
  return error ? std::nullopt : std::optional(bytes);
}
