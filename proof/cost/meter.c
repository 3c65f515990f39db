/* Runs two programs in turn, so many turns, either first every second time, and prints for each run
 * what it took, its children's share included:
 *
 *   meter TURNS PROGRAM PROGRAM [ARGUMENT...]
 *
 * A line is the number of the program, 0 or 1, the CPU time in microseconds and the peak of
 * resident memory in KB. The programs' output is thrown away, and so is each time the log of the
 * run before. */

#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

static long microseconds(struct timeval time) { return time.tv_sec * 1000000 + time.tv_usec; }

int main(int argc, char** argv) {
  for (int run = 0; argc > 3 && run < 2 * atoi(argv[1]); ++run) {
    const int which = (run + run / 2) % 2;
    struct rusage usage;
    int status;
    unlink(getenv("TANEX_LOG"));
    const pid_t pid = fork();
    if (pid == 0) {
      const int nothing = open("/dev/null", O_RDWR);
      for (int number = 0; number < 3; ++number) dup2(nothing, number);
      argv[3] = argv[2 + which];
      execv(argv[3], argv + 3);
      _exit(127);
    }
    if (wait4(pid, &status, 0, &usage) != pid || !WIFEXITED(status)) return 1;
    if (WEXITSTATUS(status) != 0 && WEXITSTATUS(status) != 68) return 1; /* 68: without arguments */
    printf("%d %ld %ld\n", which, microseconds(usage.ru_utime) + microseconds(usage.ru_stime),
           usage.ru_maxrss);
    fflush(stdout); /* before the next fork, whose child would have it too */
  }
  return 0;
}
