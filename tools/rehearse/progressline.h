#ifndef TANEXICS_REHEARSE_PROGRESSLINE_H
#define TANEXICS_REHEARSE_PROGRESSLINE_H

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

/// A line on standard error that tells, once a second, how long the run takes and how many calls
/// the stand-in has answered so far: on a terminal alone, from the first second on, and gone when
/// the object is.
class ProgressLine {
 public:
  /// `record`  the path of the record, which need not be there yet.
  explicit ProgressLine(std::string record);
  ~ProgressLine();
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

 private:
  void show();

  std::string m_record;
  std::mutex m_mutex;
  std::condition_variable m_end;
  bool m_hasEnded = false;
  std::thread m_thread;  // none where there is no terminal
};

#endif
