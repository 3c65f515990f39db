#include "tools/log/json.h"

#include <nlohmann/json.hpp>

using nlohmann::ordered_json;
using outcome::Encoding;
using outcome::Exchange;
using outcome::Run;

namespace {

template <class Value>
ordered_json orNull(const std::optional<Value>& value) {
  return value ? ordered_json(*value) : ordered_json();
}

ordered_json orNull(const std::optional<std::string>& text, Encoding encoding) {
  return text ? ordered_json(readable(*text, encoding)) : ordered_json();
}

ordered_json timeOrNull(const std::string& time) {
  return time.empty() ? ordered_json() : ordered_json(isoTime(time));
}

ordered_json requestOrNull(const std::optional<unsigned>& request) {
  return request ? ordered_json(outcome::requestText(*request)) : ordered_json();
}

ordered_json exchangeOf(const Exchange& exchange, Encoding encoding) {
  return {{"kind", exchange.isData ? "data" : "notification"},
          {"request", requestOrNull(exchange.request)},
          {"part", orNull(exchange.part)},
          {"files", exchange.files},
          {"path", orNull(exchange.path, encoding)},
          {"code", orNull(exchange.code)},
          {"error", orNull(exchange.error, encoding)}};
}

}  // namespace

std::string isoTime(std::string time) {
  constexpr std::size_t kPlaces[] = {4, 7};
  if (time.size() < 11) return time;
  for (const std::size_t place : kPlaces) time[place] = '-';
  time[10] = 'T';
  return time;
}

std::string jsonOf(const Run& run, const std::string& log, Encoding encoding) {
  ordered_json exchanges = ordered_json::array();
  for (const Exchange& one : run.exchanges) exchanges.push_back(exchangeOf(one, encoding));
  ordered_json missing = ordered_json::array();
  for (const std::string& path : run.missing) missing.push_back(readable(path, encoding));
  const char* mode = wordOf(run.mode);
  const char* verdict = wordOf(run.verdict);
  const ordered_json object = {{"log", readable(log, Encoding::kUtf8)},
                               {"pid", run.pid},
                               {"start", run.hasStart ? timeOrNull(run.start) : ordered_json()},
                               {"end", timeOrNull(run.end)},
                               {"elapsed", orNull(run.elapsed)},
                               {"mode", mode == nullptr ? ordered_json() : ordered_json(mode)},
                               {"identity", orNull(run.identity, encoding)},
                               {"host", orNull(run.host, encoding)},
                               {"verdict", verdict},
                               {"reason", readable(run.reason, encoding)},
                               {"exit", orNull(run.exitCode)},
                               {"expected", orNull(run.expected)},
                               {"exchanges", exchanges},
                               {"missing", missing},
                               {"torn", run.torn}};
  return object.dump();
}
