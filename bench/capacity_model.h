#pragma once

#include <QString>

#include <array>
#include <map>
#include <vector>

// What a sheet costs, by what is known of its source. docs/capacity.md tells the formulas.
namespace bench
{

constexpr int sheetPictures = 15;

struct SourceFacts {
    QString kind;           // codec and container: "h264-mp4"
    double megapixels = 0;  // of a picture
    double rate = 25;       // pictures a second
    double duration = 0;    // seconds
    double keyInterval = 0; // seconds from one key picture to the next
    double bytes = 0;       // of the source
    double keyBytes = 0;    // of a key picture

    // Whether the sheet has more cells than the source has key pictures.
    bool isDense() const { return duration / sheetPictures < keyInterval; }
    // Whether the container has no index, so that places are found by reading.
    bool isStream() const;
};

struct Cost {
    double processorSeconds = 0;
    double sourceBytes = 0; // read of the source
    double sourceReads = 0; // calls
    double otherBytes = 0;  // read of programs, libraries, fonts, stills and pipes
    double sheetBytes = 0;  // written
};

struct MeasuredSource {
    SourceFacts facts;
    Cost cost;
};

// Which bytes of a source the bytes read grow with: those of the key pictures before the cells, or
// of the whole groups of pictures.
enum class Grows { WithKeyPictures, WithGroups };

// The factors of one road.
class CapacityModel
{
public:
    explicit CapacityModel(const std::vector<MeasuredSource> &measured);

    Cost costOf(const SourceFacts &facts) const;
    // The constants as Markdown tables.
    QString text() const;

private:
    struct Cells {
        std::vector<double> processor;
        std::vector<double> bytes;
        Grows grows = Grows::WithKeyPictures;
    };

    std::vector<double> processorFeatures(const SourceFacts &facts) const;
    std::vector<double> byteFeatures(const SourceFacts &facts, Grows grows) const;
    void fitBytes(Cells &cells, const std::vector<MeasuredSource> &measured) const;
    QString perKind(const std::vector<double> &factors, std::size_t first, double scale) const;

    std::vector<QString> m_kinds;
    std::array<Cells, 2> m_cells; // by isDense
    std::vector<double> m_reads;
    double m_otherBytes = 0;
    double m_sheetBytes = 0;
};

} // namespace bench
