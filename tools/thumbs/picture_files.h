#pragma once

#include "thumbs/arguments.h"

#include <string>

namespace qv
{

// Where the pictures of a request go: into a folder as img00.jpg, img01.jpg, ..., or, when there is
// one, to the very path.
class PictureFiles
{
public:
    explicit PictureFiles(const PicturesRequest &request) : m_request(request) {}

    // Makes the folder when it is missing. Why it can't be made; empty when all is well.
    std::string prepare();
    std::string pathOf(std::size_t index) const;

private:
    const PicturesRequest &m_request;
    bool m_intoFolder = false;
};

} // namespace qv
