#ifndef TANEXICS_REHEARSE_RECORD_H
#define TANEXICS_REHEARSE_RECORD_H

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "tools/rehearse/folder.h"

/// The bytes that a string of the record stands for; one that has no valid escapes, as it is.
/// `value` is a string.
std::string bytesOf(const nlohmann::ordered_json& value);

/// How many bytes the copy of a file has that was sent, an `item` of the record. Nothing where the
/// item has no copy, or where it is gone.
std::optional<std::uintmax_t> bytesOfCopy(const nlohmann::ordered_json& item,
                                          const RehearsalFolder& folder);

#endif
