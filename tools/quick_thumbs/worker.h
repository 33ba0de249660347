#pragma once

#include "quick_thumbs/decoder.h"
#include "quick_thumbs/film.h"
#include "quick_thumbs/key_search.h"
#include "quick_thumbs/picture_maker.h"
#include "quick_thumbs/sequence.h"
#include "thumbs/arguments.h"

#include <tl/expected.hpp>

#include <memory>
#include <string>

namespace qv
{

// Takes some of a request's pictures out of an opening of the film that is its own.
class Worker
{
public:
    static tl::expected<std::unique_ptr<Worker>, std::string>
    create(std::unique_ptr<Film> film, const PicturesRequest &request);

    struct Taken {
        Picture picture;
        double time = 0; // seconds from the source's start
    };
    // To be asked in the order of the instants.
    tl::expected<Taken, std::string> take(std::size_t index);
    // The first key picture between these seconds, if its decoder calls it one: that is by what
    // ffmpeg would pick it.
    std::optional<Taken> takeKeyFrom(double first, double last);
    // The end of the worker: its film.
    std::unique_ptr<Film> release() { return std::move(m_film); }
    // The key picture that another worker takes for this instant is not free any more.
    void leaveOut(std::size_t index);

private:
    Worker(std::unique_ptr<Film> film, const PicturesRequest &request)
        : m_film(std::move(film)), m_request(request), m_keys(*m_film)
    {
    }
    double reach(std::size_t index) const;
    std::optional<Taken> byKeyPicture(double instant, double reach);
    std::optional<Taken> decodedAlone(const KeyPicture &key);
    std::optional<Taken> lessFlat(Taken flat, double limit);
    std::optional<Taken> byDecoding(double instant, double reach);
    std::optional<Taken> anywhereNear(double instant);
    std::optional<Taken> pictureOf(const AVFrame *frame, double time);

    std::unique_ptr<Film> m_film;
    const PicturesRequest &m_request;
    KeySearch m_keys;
    std::unique_ptr<Decoder> m_decoder;
    std::unique_ptr<Sequence> m_sequence; // opened when it is needed
    std::unique_ptr<PictureMaker> m_maker;
    std::optional<double> m_used; // the key picture of the last instant
    std::string m_problem;
};

} // namespace qv
