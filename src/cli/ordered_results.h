#pragma once

#include <QtGlobal>

#include <functional>
#include <map>
#include <utility>

// Results that come in any order and are told in the order of their numbers.
namespace qv
{

template <typename Result> class OrderedResults
{
public:
    explicit OrderedResults(std::function<void(const Result &)> tell) : m_tell(std::move(tell)) {}

    void put(qsizetype number, Result result)
    {
        m_early.emplace(number, std::move(result));
        for (auto first = m_early.begin(); first != m_early.end() && first->first == m_next;
             first = m_early.erase(first)) {
            m_tell(first->second);
            ++m_next;
        }
    }

    // Tells those that wait for one that will not come.
    void tellRest()
    {
        for (const auto &[number, result] : m_early) {
            m_tell(result);
        }
        m_early.clear();
    }

    // The number of the first that has not come.
    qsizetype next() const { return m_next; }
    qsizetype arrived() const { return m_next + static_cast<qsizetype>(m_early.size()); }
    bool has(qsizetype number) const { return number < m_next || m_early.count(number) > 0; }

private:
    std::function<void(const Result &)> m_tell;
    std::map<qsizetype, Result> m_early;
    qsizetype m_next = 0;
};

} // namespace qv
