// The processor's own count of instructions, where the system lets a program read it.
#pragma once

#include <linux/perf_event.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <stdint.h>

namespace cam::bench {

class InstructionCounter {
  public:
    InstructionCounter() {
        perf_event_attr what;
        memset(&what, 0, sizeof what);
        what.size = sizeof what;
        what.type = PERF_TYPE_HARDWARE;
        what.config = PERF_COUNT_HW_INSTRUCTIONS;
        what.exclude_kernel = 1;
        what.exclude_hv = 1;
        event_ = static_cast<int>(syscall(SYS_perf_event_open, &what, 0, -1, -1, 0));
    }
    ~InstructionCounter() {
        if (event_ >= 0) close(event_);
    }
    InstructionCounter(const InstructionCounter&) = delete;
    InstructionCounter& operator=(const InstructionCounter&) = delete;

    bool IsAvailable() const { return event_ >= 0; }
    // Since the counter was made; 0 when it is not available.
    uint64_t Read() const {
        uint64_t count = 0;
        return event_ >= 0 && read(event_, &count, sizeof count) == sizeof count ? count : 0;
    }

  private:
    int event_;
};

}  // namespace cam::bench
