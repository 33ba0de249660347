#pragma once

// A clock that stands still while the process is stopped (a batch may be paused for hours), and
// the last resort against a decoder that never comes back: it ends the process.
namespace qv::watchdog
{

// `tool` is its name for messages, a literal.
void start(const char *tool);

// Seconds that the process has been running since start().
double now();

// Ends the process with a reason on standard error unless it is called again within so many
// seconds. `doing` must be a literal.
void allow(double seconds, const char *doing);

// Nothing is expected until one of the others is called.
void rest();

// The same for a result: however much goes on meanwhile, as in a source that is read without end,
// the process ends unless this is called again. Without a call nothing is expected.
void expect(double seconds, const char *result);

} // namespace qv::watchdog
