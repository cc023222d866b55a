// Scope guards: what a function takes, it gives back on every path.
#pragma once

#include <dirent.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

namespace hearth {

// Owns what Pointer points to and hands it to Release at the end of the scope.
template <typename T, auto Release>
class Owned {
  public:
    Owned() = default;
    explicit Owned(T *pointer) : pointer_(pointer) {}
    Owned(Owned &&other) noexcept : pointer_(other.release()) {}
    Owned(const Owned &) = delete;
    Owned &operator=(const Owned &) = delete;
    Owned &operator=(Owned &&) = delete;
    ~Owned() { reset(nullptr); }

    T *get() const { return pointer_; }
    T *operator->() const { return pointer_; }
    explicit operator bool() const { return pointer_ != nullptr; }

    // Where a function stores through a T** that the guard is to own.
    T **out() { return &pointer_; }

    T *release() {
        T *pointer = pointer_;
        pointer_ = nullptr;
        return pointer;
    }

    void reset(T *pointer) {
        if (pointer_ != nullptr) {
            Release(pointer_);
        }
        pointer_ = pointer;
    }

  private:
    T *pointer_ = nullptr;
};

// A block from malloc.
template <typename T>
using HeapBlock = Owned<T, free>;

// A zeroed block for `count` elements; empty when memory is out.
template <typename T>
HeapBlock<T> allocate_zeroed(size_t count) {
    return HeapBlock<T>(static_cast<T *>(calloc(count, sizeof(T))));
}

using StdioFile = Owned<FILE, fclose>;
using Directory = Owned<DIR, closedir>;

// A file descriptor, -1 for none.
class Descriptor {
  public:
    explicit Descriptor(int fd) : fd_(fd) {}
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    ~Descriptor() {
        if (fd_ >= 0) {
            close(fd_);
        }
    }

    int get() const { return fd_; }
    explicit operator bool() const { return fd_ >= 0; }

    int release() {
        int fd = fd_;
        fd_ = -1;
        return fd;
    }

  private:
    int fd_;
};

// Holds a mutex for the length of a scope.
class MutexLock {
  public:
    explicit MutexLock(pthread_mutex_t &mutex) : mutex_(mutex) { pthread_mutex_lock(&mutex_); }
    MutexLock(const MutexLock &) = delete;
    MutexLock &operator=(const MutexLock &) = delete;
    ~MutexLock() { pthread_mutex_unlock(&mutex_); }

  private:
    pthread_mutex_t &mutex_;
};

}  // namespace hearth
