#pragma once

#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>

// While one lives, files and folders may be closed to this thread also when root runs the tests.
class OrdinaryUser
{
public:
    OrdinaryUser()
    {
        ::syscall(SYS_capget, &m_header, m_before.data());
        auto ordinary = m_before;
        ordinary[0].effective &= ~((1U << CAP_DAC_OVERRIDE) | (1U << CAP_DAC_READ_SEARCH));
        ::syscall(SYS_capset, &m_header, ordinary.data());
    }
    ~OrdinaryUser() { ::syscall(SYS_capset, &m_header, m_before.data()); }
    OrdinaryUser(const OrdinaryUser &) = delete;
    OrdinaryUser &operator=(const OrdinaryUser &) = delete;

private:
    __user_cap_header_struct m_header{_LINUX_CAPABILITY_VERSION_3, 0};
    std::array<__user_cap_data_struct, 2> m_before{};
};
