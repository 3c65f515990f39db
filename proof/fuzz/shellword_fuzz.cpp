// Words for the shell: the input is words, each ended by a zero byte, and a real /bin/sh says what
// it makes of their escaped forms.
//
// Bytes that `shellEsc` leaves alone on purpose are replaced first: semicolon and line feed, and a
// tilde at the beginning of a word.

#include <grp.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include "common/base/shell.h"
#include "fuzz/target.h"

namespace {

constexpr int kPatienceMs = 10000;
constexpr uid_t kNobody = 65534;

/// One shell for all inputs, since to start one for each would take a millisecond. It may make no
/// process and write no file, and is nobody's where the caller is root: a word that got through to
/// it must do no harm. It ends with this process, where its input does.
class Shell {
 public:
  Shell() {
    int ends[2] = {};
    demand(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends) == 0, "there is a way to the shell");
    const pid_t pid = ::fork();
    demand(pid >= 0, "there is a process for the shell");
    if (pid == 0) become(ends[1]);
    ::close(ends[1]);
    m_shell = ends[0];
  }

  /// What the shell prints for `command`, a line.
  std::string run(const std::string& command) {
    // Numbered, so that a line that a command leaves over is not taken for the next one's end.
    const std::string end = "\n# end of " + std::to_string(++m_count) + " #\n";
    const std::string line = command + "; printf '%s' '" + end + "'\n";
    const ssize_t sent = ::send(m_shell, line.data(), line.size(), MSG_NOSIGNAL);
    demand(sent == static_cast<ssize_t>(line.size()), "the shell reads on");
    std::string printed;
    while (printed.size() < end.size() ||
           printed.compare(printed.size() - end.size(), end.size(), end) != 0) {
      pollfd ready = {m_shell, POLLIN, 0};
      demand(::poll(&ready, 1, kPatienceMs) == 1, "the shell takes the command for a whole one");
      char buffer[4096];
      const ssize_t count = ::read(m_shell, buffer, sizeof buffer);
      demand(count > 0, "the shell is still there");
      printed.append(buffer, static_cast<std::size_t>(count));
    }
    return printed.substr(0, printed.size() - end.size());
  }

 private:
  [[noreturn]] static void become(int caller) {
    ::dup2(caller, 0);
    ::dup2(caller, 1);
    ::close_range(3, ~0U, 0);
    char name[] = "sh";
    char locale[] = "LC_ALL=C";
    char* argv[] = {name, nullptr};
    char* environment[] = {locale, nullptr};
    if (isHarmless()) {
      ::execve("/bin/sh", argv, environment);
    } else {
      std::fputs("no shell that can do no harm is to be had here\n", stderr);
    }
    ::_exit(127);
  }

  /// Takes from this process what it could do harm with; whether that succeeded.
  static bool isHarmless() {
    // Tried, no more: a user namespace need not have a nobody, and outside it its super-user is an
    // ordinary user.
    static_cast<void>(::setgroups(0, nullptr) == 0 && ::setresgid(kNobody, kNobody, kNobody) == 0 &&
                      ::setresuid(kNobody, kNobody, kNobody) == 0);
    // Only now: execve(2) fails for who becomes a user that is beyond this limit already.
    const rlimit none = {0, 0};
    if (::chdir("/") != 0 || ::setrlimit(RLIMIT_FSIZE, &none) != 0 ||
        ::setrlimit(RLIMIT_NPROC, &none) != 0) {
      return false;
    }
    // The limit does not bind the machine's super-user, so that it tells whether this still is one.
    const pid_t child = ::fork();
    if (child == 0) ::_exit(0);
    return child < 0;
  }

  int m_shell = -1;
  unsigned m_count = 0;
};

/// `word` without the bytes that are nobody's promise.
std::string promised(std::string word, bool withWildcards) {
  for (char& byte : word) {
    const bool isWild = byte == '*' || byte == '?' || byte == '[' || byte == ']';
    if (byte == ';' || byte == '\n' || (isWild && !withWildcards)) byte = '_';
  }
  if (word.empty() || word[0] == '~') word.insert(0, 1, 'w');
  return word;
}

const Target kShellWord("shellword", [](Input whole) {
  static Shell shell;
  constexpr std::size_t kBytesAtMost = 2000;  // a command line that the shell takes at once
  const std::string bytes = whole.rest().substr(0, kBytesAtMost);
  for (const bool withWildcards : {true, false}) {
    std::string command = "printf '[%s]'";
    std::string expected;
    for (Input input(bytes); !input.isEmpty();) {
      const std::string word = promised(input.word(), withWildcards);
      command += " " + shellEsc(word, withWildcards ? 1 : 0);
      expected += "[" + word + "]";
    }
    if (expected.empty()) return;
    demandEqual(shell.run(command), expected, "the shell reads the words as given");
  }
});

}  // namespace
