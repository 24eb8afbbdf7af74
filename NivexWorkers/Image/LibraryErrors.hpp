#pragma once

#include <string>

namespace nivex::image {

// What libvips tells of failures beside what it throws: messages, which pile up until they are forgotten.

void forgetErrors();

/// Keeps a warning that a library logs, of several different ones the last. libpng tells by one what it met
/// ("IDAT: CRC error") before libvips only says that it could not read. Any thread.
void noteWarning(const std::string& warning);

/// True when something failed although libvips told of no failure. When several threads compute a picture, version 8.14
/// takes stock as soon as the last piece is handed out (vips_threadpool_run), and an error in a piece that is not done
/// yet goes unnoticed; only its message stays.
bool hasErrorBehind();

/// What warnings and messages say, as a cause.
std::string errorsBehind();

/// True when libjpeg met data that mean nothing and went on with a guess, which libvips counts as a warning. Of several
/// such messages only the first is kept; bytes too many before a marker, which some cameras write, are no damage.
bool hasGuessBehind();

/// libvips computes with one thread as long as this lives, and loses no error.
class OneThread {
public:
    OneThread();
    ~OneThread();
    OneThread(const OneThread&) = delete;
    OneThread& operator=(const OneThread&) = delete;

private:
    int before_;
};

} // namespace nivex::image
