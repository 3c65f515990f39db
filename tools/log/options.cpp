#include "tools/log/options.h"

#include <CLI/CLI.hpp>
#include <array>
#include <charconv>
#include <sstream>

#include "loopback/bytes.h"
#include "tools/common/complain.h"
#include "tools/common/help.h"
#include "version.h"

namespace {

using outcome::Verdict;

constexpr Verdict kVerdicts[] = {Verdict::kDelivered, Verdict::kPartly, Verdict::kRefused,
                                 Verdict::kNotSent, Verdict::kUnknown};

constexpr const char* kLeastLast = marked("the number is 1 or more");

constexpr std::string_view kDayShape = "dddd-dd-dd";
constexpr std::string_view kTimeShape = "dddd-dd-ddTdd:dd:dd";

bool hasShape(const std::string& text, std::string_view shape) {
  if (text.size() != shape.size()) return false;
  for (std::size_t at = 0; at < shape.size(); ++at) {
    const bool isDigit = text[at] >= '0' && text[at] <= '9';
    if (shape[at] == 'd' ? !isDigit : text[at] != shape[at]) return false;
  }
  return true;
}

int numberAt(const std::string& text, std::size_t at) { return std::stoi(text.substr(at, 2)); }

bool isDate(const std::string& text) {
  constexpr std::array<int, 12> kDays = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const int year = std::stoi(text.substr(0, 4));
  const int month = numberAt(text, 5);
  const int day = numberAt(text, 8);
  const bool isLeap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
  return month >= 1 && month <= 12 && day >= 1 &&
         day <= kDays[static_cast<std::size_t>(month - 1)] && (month != 2 || day < 29 || isLeap);
}

bool isTimeOfDay(const std::string& text) {
  return numberAt(text, 11) < 24 && numberAt(text, 14) < 60 && numberAt(text, 17) <= 60;
}

/// A time as the log has it. `timeOfDay` is for a day alone.
std::string logTime(const std::string& name, std::string text, const char* timeOfDay) {
  const bool isDay = hasShape(text, kDayShape);
  if ((!isDay && !hasShape(text, kTimeShape)) || !isDate(text) || (!isDay && !isTimeOfDay(text))) {
    throw CLI::ValidationError(
        name, translated("no such time: '%s'; it is written YYYY-MM-DD or YYYY-MM-DDTHH:MM:SS",
                         {visibleBytes(text)}));
  }
  if (isDay) text += std::string("T") + timeOfDay;
  text[4] = text[7] = '/';
  text[10] = ' ';
  return text;
}

std::set<Verdict> verdictsOf(const std::string& text) {
  std::set<Verdict> verdicts;
  for (const std::string& word : CLI::detail::split(text, ',')) {
    const auto* const found =
        std::find_if(std::begin(kVerdicts), std::end(kVerdicts),
                     [&word](Verdict verdict) { return word == wordOf(verdict); });
    if (found == std::end(kVerdicts)) {
      throw CLI::ValidationError(
          "--verdict",
          translated("there is none like '%s'; they are %s",
                     {visibleBytes(word), "delivered, partly, refused, not-sent, unknown"}));
    }
    verdicts.insert(*found);
  }
  return verdicts;
}

int pidOf(const std::string& text) {
  int pid = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), pid);
  if (read.ec != std::errc() || read.ptr != text.data() + text.size() || pid < 0) {
    throw CLI::ValidationError(
        "--pid",
        translated("no such process id: '%s'; it is a number such as 4711", {visibleBytes(text)}));
  }
  return pid;
}

outcome::Encoding encodingOf(const std::string& text) {
  if (text == "utf-8") return outcome::Encoding::kUtf8;
  if (text == "euc-jp") return outcome::Encoding::kEucJp;
  throw CLI::ValidationError(
      "--encoding",
      translated("there is none like '%s'; they are utf-8 and euc-jp", {visibleBytes(text)}));
}

class LogsFormatter : public HelpFormatter {
 public:
  using HelpFormatter::HelpFormatter;

  /// Without the value that an option has when none is given.
  std::string make_option_name(const CLI::Option* option, bool isPositional) const override {
    const std::string name = Formatter::make_option_name(option, isPositional);
    return name.substr(0, name.find('{'));
  }

  /// The kind of value alone: which options exclude each other is told when they meet.
  std::string make_option_opts(const CLI::Option* option) const override {
    const std::string type = option->get_type_name();
    if (option->get_name() == "LOG") return " ...";
    return type.empty() || type[0] == '[' ? type : " " + type;
  }
};

void addOptions(CLI::App& app, Options& options) {
  app.formatter(
      std::make_shared<LogsFormatter>(marked("Usage: tanexics-log [OPTIONS] [LOG...]\n"
                                             "       tanexics-log explain WORD...\n")));
  addHelp(app);
  app.add_option(
      "LOG", options.logs,
      translated(
          "Action logs; without one, what TANEX_LOG names or msg_action.log, after its .bak"));
  app.add_option_function<std::string>(
         "--since",
         [&](const std::string& text) { options.since = logTime("--since", text, "00:00:00"); },
         translated("Runs that began at T or later"))
      ->type_name("T");
  app.add_option_function<std::string>(
         "--until",
         [&](const std::string& text) { options.until = logTime("--until", text, "23:59:60"); },
         translated("Runs that began at T or earlier"))
      ->type_name("T");
  app.add_option_function<std::string>(
         "--pid", [&](const std::string& text) { options.pid = pidOf(text); },
         translated("Runs of the process id N"))
      ->type_name("N");
  app.add_option("--incident", options.incident, translated("Runs of the incident N"))
      ->type_name("N");
  app.add_option_function<std::string>(
         "--verdict", [&](const std::string& text) { options.verdicts = verdictsOf(text); },
         translated("Runs with one of these verdicts, separated by commas"))
      ->type_name("V");
  CLI::Option* follow = app.add_flag("--follow", options.follow,
                                     translated("Go on, and print each run when it ends"));
  const auto setLast = [&](std::int64_t number) {
    if (number < 1) throw CLI::ValidationError("--last", translated(kLeastLast));
    options.last = static_cast<std::size_t>(number);
  };
  app.add_flag_function("--last{1}", setLast,
                        translated("The last N of these runs, or the last one"))
      ->type_name("[=N]")
      ->excludes(follow);
  app.add_flag("--lines", options.lines, translated("Show each run's own lines below it"));
  app.add_flag("--explain", options.explain,
               translated("Tell what status words, errors and numbers mean"));
  CLI::Option* json = app.add_flag_callback(
      "--json", [&] { options.form = Form::kJson; },
      translated("Print one JSON object a run and line"));
  const auto setOpenMetrics = [&] { options.form = Form::kOpenMetrics; };
  app.add_flag_callback("--openmetrics", setOpenMetrics,
                        translated("Print metrics for a textfile collector"))
      ->excludes(json)
      ->excludes(follow);
  app.add_option("--html", options.html, translated("Write a page for people to FILE"))
      ->type_name("FILE")
      ->excludes(follow);
  app.add_option_function<std::string>(
         "--encoding", [&](const std::string& text) { options.encoding = encodingOf(text); },
         translated("Read texts as E, utf-8 or euc-jp, and not as whichever they are"))
      ->type_name("E");
  addVersion(app, std::string("tanexics-log ") + kVersion);
}

}  // namespace

std::optional<int> readOptions(int argc, const char* const* argv, Options& options,
                               std::string& text) {
  CLI::App app(translated(
      "Tells of each run in an action log of tanexics whether its report was delivered.\n"));
  addOptions(app, options);
  try {
    app.parse(argc, argv);
    if (options.follow && options.logs.size() > 1) {
      throw CLI::ValidationError("--follow", translated("one log can be followed, and no more"));
    }
  } catch (const CLI::Success& asked) {
    std::ostringstream output;
    app.exit(asked, output, output);
    text = output.str();
    return kAllDelivered;
  } catch (const CLI::ExtrasError& wrong) {
    complain("tanexics-log", translated("%s; --help shows the options", {optionErrorOf(wrong)}));
    return kWrongUsage;
  } catch (const CLI::ParseError& wrong) {
    complain("tanexics-log", optionErrorOf(wrong));
    return kWrongUsage;
  } catch (const std::invalid_argument&) {
    // What the option library lets out of a flag with a value that is no number; there is but one.
    complain("tanexics-log", "--last: " + translated(kLeastLast));
    return kWrongUsage;
  }
  return std::nullopt;
}
