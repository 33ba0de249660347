#pragma once

namespace qv
{

// Whether a sanitizer watches this build. Sanitizers need more address space and more of the system
// than the limits and the confinement of tools allow.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool isSanitized = true;
#else
inline constexpr bool isSanitized = false;
#endif

} // namespace qv
