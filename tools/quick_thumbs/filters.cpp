#include "quick_thumbs/filters.h"

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/pixdesc.h>
}

#include <cstdio>
#include <memory>

namespace qv
{
namespace
{

struct FreeGraph {
    void operator()(AVFilterGraph *graph) const { avfilter_graph_free(&graph); }
};
using GraphPtr = std::unique_ptr<AVFilterGraph, FreeGraph>;

struct FreeFrame {
    void operator()(AVFrame *frame) const { av_frame_free(&frame); }
};
using FramePtr = std::unique_ptr<AVFrame, FreeFrame>;

class OneFrameGraph
{
public:
    int build(const AVFrame &frame, const char *description)
    {
        m_graph.reset(avfilter_graph_alloc());
        m_graph->nb_threads = 1;
        char source[256];
        std::snprintf(source, sizeof source,
                      "video_size=%dx%d:pix_fmt=%d:time_base=1/25:pixel_aspect=1/1", frame.width,
                      frame.height, frame.format);
        int problem = avfilter_graph_create_filter(&m_source, avfilter_get_by_name("buffer"), "in",
                                                   source, nullptr, m_graph.get());
        if (problem >= 0) {
            problem = avfilter_graph_create_filter(&m_sink, avfilter_get_by_name("buffersink"),
                                                   "out", nullptr, nullptr, m_graph.get());
        }
        return problem < 0 ? problem : connect(description);
    }

    AVFrame *run(const AVFrame &frame, int &problem)
    {
        FramePtr input(av_frame_clone(&frame));
        input->pts = 0;
        FramePtr output(av_frame_alloc());
        problem = av_buffersrc_add_frame_flags(m_source, input.get(), AV_BUFFERSRC_FLAG_KEEP_REF);
        if (problem >= 0) {
            problem = av_buffersrc_add_frame_flags(m_source, nullptr, 0); // there will be no other
        }
        if (problem >= 0) {
            problem = av_buffersink_get_frame(m_sink, output.get());
        }
        return problem < 0 ? nullptr : output.release();
    }

private:
    int connect(const char *description)
    {
        AVFilterInOut *inputs = avfilter_inout_alloc();
        AVFilterInOut *outputs = avfilter_inout_alloc();
        *outputs = {av_strdup("in"), m_source, 0, nullptr};
        *inputs = {av_strdup("out"), m_sink, 0, nullptr};
        int problem =
            avfilter_graph_parse_ptr(m_graph.get(), description, &inputs, &outputs, nullptr);
        avfilter_inout_free(&inputs);
        avfilter_inout_free(&outputs);
        return problem < 0 ? problem : avfilter_graph_config(m_graph.get(), nullptr);
    }

    GraphPtr m_graph;
    AVFilterContext *m_source = nullptr;
    AVFilterContext *m_sink = nullptr;
};

} // namespace
} // namespace qv

extern "C" __attribute__((visibility("default"))) AVFrame *
qv_filter_frame(const AVFrame *frame, const char *graph, char *problem, int size)
{
    qv::OneFrameGraph filters;
    int error = filters.build(*frame, graph);
    AVFrame *filtered = error < 0 ? nullptr : filters.run(*frame, error);
    if (filtered == nullptr) {
        av_strerror(error, problem, static_cast<std::size_t>(size));
    }
    return filtered;
}
