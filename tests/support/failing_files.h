#ifndef QUORVEX_TESTS_FAILING_FILES_H
#define QUORVEX_TESTS_FAILING_FILES_H

// The real files behind a table that fails when told. It is in use as long as the object lives.
//
// A call that fails does what a real failing one may do: a write puts out the first half of its
// bytes, a close ends the file number, all others do nothing. `access` has no failure, so it
// answers read-only.
//
//     for (int nth = 1;; ++nth) {
//         FailingFiles files;
//         files.CutOffAt(nth);
//         ...
//         if (!files.Failed()) break;  // fewer calls than that: all of them have been tried
//     }

#include <cstdint>
#include <string>
#include <vector>

class FailingFiles
{
public:
    FailingFiles();
    ~FailingFiles();
    FailingFiles(const FailingFiles &) = delete;
    FailingFiles &operator=(const FailingFiles &) = delete;

    // Lets the nth call from now fail, 1 being the next one; 0: none.
    void FailAt(int64_t nth);
    // Lets the nth call from now and all behind it fail, as if the process had ended in the middle
    // of it: none of the later ones does anything.
    void CutOffAt(int64_t nth);
    // Whether the call that was to fail has been made.
    bool Failed() const;

    // The calls so far, such as "open config.ini read", "write 120", "rename a b", by the last part
    // of each path.
    std::vector<std::string> Calls() const;
    int64_t OpenFiles() const;  // opened and not closed
};

#endif
