#pragma once

#include <string>

// What the libraries log, gathered.
namespace qv::reportlog
{

// From now on; of the debugging lines those without use for a reader of the report are left out.
void start();
void stop();

// One line of our own.
void line(const std::string &text);

// Nothing after more lines than any report has: a source that makes a decoder complain without end.
bool isTooLong();
const std::string &text();

} // namespace qv::reportlog
