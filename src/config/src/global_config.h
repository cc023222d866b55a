// What the sources of the configuration share: its state, its lock and its paths.
#pragma once

#include <stdint.h>
#include <string.h>

#include <atomic>
#include <string_view>

#include "base/guard.h"
#include "base/log.h"
#include "hearth/config.h"

namespace hearth::config {

// All files of this folder log under one source path.
inline constexpr LogSource kConfigLog{"config", "config/src/global_config"};

constexpr uint32_t kPathSize = 256;
constexpr const char *kDefaultFile = "config.xml";
constexpr const char *kUserData = "/data/userdata/";
constexpr const char *kGlobal = "global";

// Start modes: not asked yet, and the one in which lookups keep away from the SIM.
constexpr uint32_t kStartModeUnknown = 4;
constexpr uint32_t kStartModeWithoutSim = 2;

// Digits of the IMSI that name an operator's directory: at most and at least.
constexpr uint32_t kLongestPrefix = 8;
constexpr uint32_t kShortestPrefix = 5;

// The state of this process. g_icfgSem guards all of it; what is also read without it is atomic.
struct State {
    uint32_t g_startMode = kStartModeUnknown;
    // The operator prefix, shortened once a shorter one has answered.
    char g_szImsi[kLongestPrefix + 1] = "";
    // Set once an operator layer has answered.
    int32_t g_cfgiCustomFlag = 0;
    // Set once `imsi_string` has been read for the present SIM.
    int32_t g_cfgiImsiFlag = 0;
    // One of CFG_SIMST_*; read without the lock while a lookup waits.
    std::atomic<int32_t> g_enSimState = CFG_SIMST_IDLE;
};
extern State g_state;

// Creates g_icfgSem on first use.
void ensure_lock();
// False when there is none, for want of memory.
bool take_lock();
void give_lock();

// Holds g_icfgSem for the length of a scope.
class ConfigLock {
  public:
    ConfigLock() {
        ensure_lock();
        held_ = take_lock();
    }
    ConfigLock(const ConfigLock &) = delete;
    ConfigLock &operator=(const ConfigLock &) = delete;
    ~ConfigLock() {
        if (held_) {
            give_lock();
        }
    }

    // Leaves the semaphore taken for good.
    void keep() { held_ = false; }

  private:
    bool held_ = false;
};

// A path that grows in a zeroed heap buffer of 256 bytes. What does not fit makes it invalid for
// good; so does a failed allocation.
class Path {
  public:
    Path() : text_(allocate_zeroed<char>(kPathSize)) { valid_ = allocated(); }

    bool allocated() const { return static_cast<bool>(text_); }
    bool valid() const { return valid_; }
    const char *text() const { return text_.get(); }
    char *buffer() { return text_.get(); }
    uint32_t length() const { return static_cast<uint32_t>(strlen(text_.get())); }

    Path &append(std::string_view part);
    // Appends a name behind a "/", unless there is one.
    Path &append_name(std::string_view name);
    // Empties the path and starts it with the place of a logical one on the disk.
    bool start(std::string_view logical);
    // Starts it with the product's directory.
    bool start_product();
    void cut_slash();
    bool exists() const;

  private:
    HeapBlock<char> text_;
    bool valid_ = false;
};

// Copies a text to a caller's buffer of `*length` bytes, clearing all of it first. CFG_TOO_SMALL
// with the length needed when the buffer is too small or null.
int32_t hand_out(std::string_view text, char *out, uint32_t *length);

}  // namespace hearth::config
