#pragma once
// Reads stored drawings leniently: unreadable parts are skipped and logged with their place. Used by the sketch view to load
// a stack.

#include "VideoAnalysis/JSON/JSON.h"
#include "VideoAnalysis/Platform/Geometry.h"
#include "VideoAnalysis/Sketch/SketchTool.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace videoanalysis {

/// Main thread only.
class SketchStackReader {
public:
    /// The tool for a case-insensitive type word; empty for an unknown word. Filled shapes and the eraser are stored as
    /// variants of another type.
    static std::optional<SketchToolType> toolType(std::string_view word);

    /// `size`: the view size in points that percentages refer to; not empty.
    explicit SketchStackReader(Size size) : size_(size) {}

    /// Each reads a member of `object` into `value`, or leaves `value` unchanged and logs the reason. Numbers outside of
    /// `range` and colours other than "#" with six hexadecimal digits are unreadable.
    void readNumber(const JSON& object, std::string_view key, StoredRange range, double& value);
    void readColor(const JSON& object, std::string_view key, Color& value);
    /// `last`: the max enumerator; the first one is 0.
    template <class Enumeration>
    void readEnumeration(const JSON& object, std::string_view key, Enumeration last, Enumeration& value) {
        value = static_cast<Enumeration>(readInteger(object, key, static_cast<int>(last), static_cast<int>(value)));
    }

    /// Calls `read(members)` with the system-specific members under "ios", if there are any.
    template <class Read>
    void readSystemMembers(const JSON& object, Read&& read) {
        const JSON& members = object["ios"];
        if (members.error()) return;
        const Place place(*this, "ios");
        std::forward<Read>(read)(members);
    }

    /// The drawings in a member of `stack`. `makeTool` creates a tool as for a new touch; missing members keep its defaults.
    std::vector<std::shared_ptr<SketchTool>>
    readDrawings(const JSON& stack, std::string_view key,
                 const std::function<std::shared_ptr<SketchTool>(SketchToolType)>& makeTool);

    /// Writes one line per problem to the debug log, at most 100, then the count of the others.
    void log() const;

private:
    /// Appends a member to the current place for its lifetime.
    class Place {
    public:
        Place(SketchStackReader& reader, std::string_view name) : reader_(reader), length_(reader.place_.size()) {
            if (length_ > 0) reader.place_ += '.';
            reader.place_ += name;
        }
        Place(const Place&) = delete;
        Place& operator=(const Place&) = delete;
        ~Place() { reader_.place_.resize(length_); }

    private:
        SketchStackReader& reader_;
        std::size_t length_;
    };

    int readInteger(const JSON& object, std::string_view key, int last, int value);
    std::optional<Point> readPoint(const JSON& object, std::string_view x, std::string_view y) const;
    void readConfiguration(const JSON& configuration, SketchTool& tool);
    void readPoints(const JSON& points, SketchTool& tool);
    void note(std::string_view key, std::string_view problem);
    void noteUnreadable(const JSON& value, std::string_view key);

    Size size_;
    /// The place being read, as in "drawnStack[3].configuration".
    std::string place_;
    std::vector<std::string> notes_;
    std::size_t noteCount_ = 0;
};

}  // namespace videoanalysis
