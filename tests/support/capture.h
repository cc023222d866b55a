// What a piece of code prints on standard output, the library's puts and printf included.
#pragma once

#include <stdio.h>
#include <unistd.h>

#include <string>

namespace hearth::test {

class StdoutCapture {
  public:
    StdoutCapture() {
        fflush(stdout);
        saved_ = dup(STDOUT_FILENO);
        file_ = tmpfile();
        dup2(fileno(file_), STDOUT_FILENO);
    }
    StdoutCapture(const StdoutCapture &) = delete;
    StdoutCapture &operator=(const StdoutCapture &) = delete;
    ~StdoutCapture() { text(); }

    // Ends the capture and returns what was printed.
    std::string text() {
        if (saved_ < 0) {
            return text_;
        }
        fflush(stdout);
        dup2(saved_, STDOUT_FILENO);
        close(saved_);
        saved_ = -1;
        rewind(file_);
        char part[4096];
        size_t got = 0;
        while ((got = fread(part, 1, sizeof part, file_)) > 0) {
            text_.append(part, got);
        }
        fclose(file_);
        return text_;
    }

  private:
    int saved_ = -1;
    FILE *file_ = nullptr;
    std::string text_;
};

}  // namespace hearth::test
