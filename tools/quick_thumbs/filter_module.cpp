#include "quick_thumbs/filter_module.h"

#include "quick_thumbs/filters.h"

#include <climits>
#include <dlfcn.h>
#include <unistd.h>

namespace qv
{
namespace
{

std::string modulePath()
{
    char program[PATH_MAX] = {};
    const ssize_t length = ::readlink("/proc/self/exe", program, sizeof program - 1);
    const std::string path(program, length > 0 ? static_cast<std::size_t>(length) : 0);
    return path.substr(0, path.rfind('/') + 1) + filterModule;
}

FilterFrame *loadFilters()
{
    void *module = ::dlopen(modulePath().c_str(), RTLD_NOW | RTLD_LOCAL);
    return module == nullptr ? nullptr
                             : reinterpret_cast<FilterFrame *>(::dlsym(module, filterFunction));
}

} // namespace

tl::expected<FramePtr, std::string> filteredFrame(const AVFrame &frame, const std::string &graph)
{
    static FilterFrame *const filter = loadFilters();
    if (filter == nullptr) {
        return tl::make_unexpected("the filters can't be loaded from " + modulePath());
    }
    char problem[AV_ERROR_MAX_STRING_SIZE] = {};
    FramePtr filtered(filter(&frame, graph.c_str(), problem, sizeof problem));
    if (!filtered) {
        return tl::make_unexpected(std::string("filtering: ") + problem);
    }
    return filtered;
}

} // namespace qv
