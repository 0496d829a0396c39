#pragma once

#include <QImage>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace quorvel {

// Reads QR codes in pictures on a thread of its own, one picture at a time: a picture offered
// while it is busy is dropped, so a slow reader never makes pictures pile up.
class QrScanWorker {
 public:
  // found runs on the worker's thread with the texts of the codes in a picture, when it has any.
  explicit QrScanWorker(std::function<void(const std::vector<std::string>&)> found);
  // Waits for the picture being read, if any.
  ~QrScanWorker();

  // Hands picture over; false (and dropped) when the worker is still busy.
  bool offer(QImage picture);

 private:
  void run();

  std::function<void(const std::vector<std::string>&)> found_;
  std::mutex mutex_;
  std::condition_variable wake_;
  std::optional<QImage> next_;
  bool busy_ = false;
  bool quit_ = false;
  std::thread thread_;  // last: starts once the rest is ready
};

}  // namespace quorvel
