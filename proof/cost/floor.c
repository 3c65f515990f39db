/* The floor under the command's cost: what a run must do, and nothing else. A plain C program that
 * makes the system calls of a run in their order, with the same log lines, children and calls of
 * the communication library. It checks nothing and knows no other course than the one that goes
 * well. It is measured beside the command, and its action log must be the command's to the letter.
 *
 *   floor                     a run without arguments
 *   floor LISTFILE -i NUMBER  an incident
 *   floor LISTFILE -r FILE    an event of the definition file that the benchmark uses
 */

#define _GNU_SOURCE

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

int KEL_StartComm(int mode, int* value);
int KEL_StopComm(void);
int KEL_Communicate(unsigned int code, int reserved, int count, void* data, void* error);
int KEL_GetID(int* id);
int KEL_GetStatus(int reserved, int* status);

static const char* logPath;
static int isTraced;

static void put(int fd, const char* bytes, int count) {
  if (write(fd, bytes, (size_t)count) < 0) return;
}

/* What a run needs of its signals, and what its caller had them at, which its children get back. */
static const int signals[3] = {SIGCHLD, SIGPIPE, SIGXFSZ};
static void (*const needed[3])(int) = {SIG_DFL, SIG_IGN, SIG_IGN};
static struct sigaction callers[3];

static void settleSignals(void) {
  struct sigaction action;
  memset(&action, 0, sizeof action);
  for (int i = 0; i < 3; ++i) {
    action.sa_handler = needed[i];
    sigaction(signals[i], &action, &callers[i]);
  }
}

static void restoreSignals(void) {
  for (int i = 0; i < 3; ++i) {
    if (callers[i].sa_handler != needed[i]) sigaction(signals[i], &callers[i], NULL);
  }
}

static char answer[512];
static pid_t child;

/* Runs a command line through the shell; its first line of output goes to
 * `answer`, the rest nowhere. */
static int run(const char* command, int isQuiet) {
  int ends[2], status = -1;
  char buffer[512];
  FILE* output;
  if (pipe2(ends, O_CLOEXEC) != 0) abort();
  child = fork();
  if (child == 0) {
    dup2(ends[1], 1);
    close(ends[1]);
    close(ends[0]);
    if (isQuiet) dup2(open("/dev/null", O_RDWR | O_CLOEXEC), 2);
    restoreSignals();
    execl("/bin/sh", "/bin/sh", "-c", command, (char*)NULL);
    _exit(1);
  }
  close(ends[1]);
  output = fdopen(ends[0], "r");
  if (output == NULL) abort();
  if (fgets(answer, sizeof answer, output) == NULL) answer[0] = '\0';
  while (fgets(buffer, sizeof buffer, output) != NULL) continue;
  fclose(output);
  if (!isQuiet) close(ends[0]); /* once more, as s_pclose is bound to do for any caller */
  waitpid(child, &status, 0);
  return status;
}

static void rotate(void) {
  char command[1024];
  const char* slash = strrchr(logPath, '/');
  const char* dot = strrchr(logPath, '.');
  sprintf(command, "cp -f %s %.*s/%.*s.bak >/dev/null 2>&1", logPath, (int)(slash - logPath),
          logPath, (int)(dot - slash - 1), slash + 1);
  run(command, 0);
  if (truncate(logPath, 0) != 0) abort();
}

__attribute__((format(printf, 1, 2))) static void line(const char* format, ...) {
  struct stat status;
  struct tm local;
  char text[2048], head[192];
  va_list args;
  int length, fd;
  time_t now;
  va_start(args, format);
  length = vsnprintf(text, sizeof text, format, args);
  va_end(args);
  if (stat(logPath, &status) == 0 && status.st_size > 512000) rotate();
  fd = open(logPath, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
  /* Formed anew for each line: nothing is kept between two. */
  now = time(NULL);
  localtime_r(&now, &local);
  put(fd, head,
      snprintf(head, sizeof head, "%04d/%02d/%02d %02d:%02d:%02d %5d ", local.tm_year + 1900,
               local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec,
               (int)getpid()));
  put(fd, text, length);
  put(fd, "\n", 1);
  close(fd);
}

static void traceStatus(int status) {
  if (!isTraced) return;
  line("[T](common:535):   WIFEXITED:%d WEXITSTATUS:%d", WIFEXITED(status), WEXITSTATUS(status));
  line("[T](common:536): WIFSIGNALED:%d    WTERMSIG:%d", WIFSIGNALED(status), WTERMSIG(status));
  line("[T](common:537):  WIFSTOPPED:%d    WSTOPSIG:%d", WIFSTOPPED(status), WSTOPSIG(status));
  line("[T](common:538):WIFCONTINUED:%d   WCOREDUMP:%d", WIFCONTINUED(status), WCOREDUMP(status));
}

static char** paths;
static int pathCount;

static FILE* openInput(const char* path) {
  struct stat status;
  FILE* file = stat(path, &status) == 0 && !S_ISDIR(status.st_mode) ? fopen(path, "re") : NULL;
  if (file == NULL) abort();
  return file;
}

static void readList(const char* path) {
  char piece[1024];
  FILE* file = openInput(path);
  int room = 0;
  while (fgets(piece, sizeof piece, file) != NULL) {
    piece[strcspn(piece, "\n")] = '\0';
    if (pathCount == room) paths = realloc(paths, (size_t)(room = 2 * room + 16) * sizeof *paths);
    if (paths == NULL || (paths[pathCount++] = strdup(piece)) == NULL) abort();
  }
  fclose(file);
}

static char values[12][512];
static const char* const keys[12] = {"EventID",       "HostName", "Label",    "MsgID",
                                     "MsgType",       "OSName",   "OSType",   "OSVersion",
                                     "PartitionName", "PkgName",  "SendType", "Time"};

static char* value(const char* key) {
  int i = 0;
  while (strcmp(keys[i], key) != 0) ++i;
  return values[i];
}

static void readDefinition(const char* path) {
  char piece[1024];
  FILE* file = openInput(path);
  while (fgets(piece, sizeof piece, file) != NULL) {
    piece[strcspn(piece, "\n")] = '\0';
    *strchr(piece, '=') = '\0';
    strcpy(value(piece), strchr(piece, '\0') + 1);
  }
  fclose(file);
  for (int i = 0; isTraced && i < 12; ++i) line("%s=%s", keys[i], values[i]);
}

static int status;

static void prepare(void) {
  int id, error;
  uint32_t total = 0;
  KEL_GetID(&id);
  KEL_GetID(&id);
  if (value("HostName")[0] == '\0') {
    if (isTraced) line("[T](common:1345):execGetLines():count=1,uname -n 2>/dev/null");
    line("VUQ90004L : com=uname -n 2>/dev/null");
    error = run("uname -n 2>/dev/null", 1);
    answer[strcspn(answer, "\n")] = '\0';
    strcpy(value("HostName"), answer);
    line("VUQ90004L : pid=%d,wstat=%08x", (int)child, (unsigned)error);
    traceStatus(error);
  }
  for (int i = 0; i < pathCount; ++i) {
    struct stat file;
    if (stat(paths[i], &file) != 0) abort();
    if (isTraced) {
      line("[T](SendEventBase:486):current_total='%u'  target='%s' size='%lld'bytes.\n", total,
           paths[i], (long long)file.st_size);
    }
    total += (uint32_t)file.st_size;
  }
  if (isTraced) line("[T](SendEventBase:491):final_total='%u' bytes. \n", total);
  KEL_GetStatus(0, &status);
  KEL_GetStatus(0, &status);
  KEL_StartComm(0, &id);
  line("(CSendInfo::SendInfo) call startCom(RM_MODE_SYNC)=0");
}

static void exchange(unsigned notification, unsigned data, char* text, char** list, int count) {
  int error[3] = {0, 0, 0};
  line("RM_Communicate call (param=0x%x 0 0 %s NULL  NULL)", notification, text);
  line("RM_Communicate done (code='%d', msg='') ",
       KEL_Communicate(notification, 0, 0, text, error));
  line("RM_Communicate call (param=0x%x ? %d %s NULL  NULL)", data, count, list[0]);
  line("RM_Communicate done (code='%d', msg='') ", KEL_Communicate(data, 0, count, list, error));
}

static void sendIncident(const char* number) {
  char text[2048];
  for (int i = 0; i < pathCount; ++i) {
    line("commonSendEvent Main Loop (%d/%d)", i + 1, pathCount);
    sprintf(text, "INCNO=\"%s\",HOSTNAME=\"%s\",PART=\"%d\",TOTAL=\"%d\"", number,
            value("HostName"), i + 1, pathCount);
    exchange(0x40017, 0x4010b, text, &paths[i], 1);
  }
}

static void sendEvent(void) {
  static const char* const order[] = {"Label",     "HostName", "OSType",  "OSName",
                                      "OSVersion", "PkgName",  "MsgType", "MsgID"};
  char text[2048];
  int length = sprintf(text, "\"%s\",,", value("Time"));
  line("commonSendEvent Main Loop (1/%d)", pathCount);
  for (int i = 0; i < 8; ++i) length += sprintf(text + length, "\"%s\",", value(order[i]));
  sprintf(text + length, "\"Software Log\"");
  exchange(0x40204, 0x4010d, text, paths, pathCount);
}

static int runOn(const char* before, const char* directory, const char* after) {
  char command[1024];
  sprintf(command, "%s %s_ %s", before, directory, after);
  return run(command, 0);
}

static void collect(void) {
  char* directory = tempnam("/tmp", "swconf"); /* the linker warns of it */
  struct stat file;
  int error;
  if (stat("/tmp", &file) != 0) abort();
  error = runOn("mkdir -p", directory, "2>/dev/null");
  line("VUQ90004L : pid=%d,wstat=%08x", (int)child, (unsigned)error);
  line("VUQ90004L : com=mkdir -p %s_ 2>/dev/null", directory);
  runOn("/opt/dovra/tanex/bin/tanexcc", directory, "2>/dev/null");
  runOn("/opt/dovra/tanex/bin/tanexcs", directory, "2>/dev/null");
  runOn("/bin/rm -fr", directory, ">/dev/null 2>&1");
  free(directory);
}

static double now(void) {
  struct timeval time;
  gettimeofday(&time, NULL);
  return (double)time.tv_sec + (double)time.tv_usec * 0.000001;
}

static int finish(const char* program, double start, int code) {
  line("ELAPSED:range='executing tanexics', time='%0.6f'", now() - start);
  line("### main : %s exit. code = %d", program, code);
  return code;
}

int main(int argc, char** argv) {
  struct pollfd standard[] = {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}};
  const char* level = getenv("TANEX_LOG_LEVEL");
  const int isEvent = argc > 2 && strcmp(argv[2], "-r") == 0;
  double start;
  umask(022);
  settleSignals();
  poll(standard, 3, 0);
  logPath = getenv("TANEX_LOG");
  isTraced = level != NULL && strcmp(level, "LOG_LEVEL_TRACE") == 0;
  line("### main : %s started.", argv[0]);
  start = now();
  if (getuid() != 0) abort();
  if (argc < 3) {
    line("parameter count error.(CSendEventSingleSystem::parseCommandLine)");
    return finish(argv[0], start, 68);
  }
  readList(argv[1]);
  if (isEvent) readDefinition(argv[3]);
  prepare();
  if (isEvent) sendEvent();
  if (!isEvent) sendIncident(argv[3]);
  KEL_StopComm();
  line("commonSendEvent OK");
  KEL_StopComm();
  if (!isEvent) collect();
  return finish(argv[0], start, 0);
}
