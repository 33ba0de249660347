#pragma once

#include <QImage>

#include <deque>
#include <functional>
#include <future>

namespace qv
{

// Pictures made ahead of their use on other threads, a few at a time, and handed out in order.
// Decoding and scaling the stills is nearly all of a sheet's work; measured on two cores it halves
// the time to a sheet. The number in flight bounds the memory.
class StillsAhead
{
public:
    // `make` gives picture 0 to count - 1; it runs on other threads.
    StillsAhead(int count, std::function<QImage(int)> make);

    // The next picture; null after the last.
    QImage next();

private:
    void fill();

    std::function<QImage(int)> m_make;
    std::deque<std::future<QImage>> m_inFlight;
    int m_count;
    int m_started = 0;
};

} // namespace qv
