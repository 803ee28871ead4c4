#pragma once
// Reads stored drawings, whatever they hold: what is readable is taken, the rest is skipped and noted with its place. Used
// by the sketch view when it loads a stack.

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

/// Main thread.
class SketchStackReader {
public:
    /// The tool of a type word in any case; nothing for an unknown word. Fill shapes and the eraser have no word of their own.
    static std::optional<SketchToolType> toolType(std::string_view word);

    /// `size`: what percentages refer to, in points, not empty.
    explicit SketchStackReader(Size size) : size_(size) {}

    /// Each reads a member of `object` into `value`, or leaves `value` alone and notes why. Numbers outside of `range` and
    /// colors other than "#" with six hexadecimal digits count as unreadable.
    void readNumber(const JSON& object, std::string_view key, StoredRange range, double& value);
    void readColor(const JSON& object, std::string_view key, Color& value);
    /// `last`: the highest of the enumeration's numbers, which begin at 0.
    template <class Enumeration>
    void readEnumeration(const JSON& object, std::string_view key, Enumeration last, Enumeration& value) {
        value = static_cast<Enumeration>(readInteger(object, key, static_cast<int>(last), static_cast<int>(value)));
    }

    /// Calls `read(members)` for the members that only this system writes, those under "ios"; not at all where there are none.
    template <class Read>
    void readSystemMembers(const JSON& object, Read&& read) {
        const JSON& members = object["ios"];
        if (members.error()) return;
        const Place place(*this, "ios");
        std::forward<Read>(read)(members);
    }

    /// The drawings of a member of `stack`. `makeTool` makes a tool as for a new touch; what a drawing does not say stays as
    /// it was made.
    std::vector<std::shared_ptr<SketchTool>>
    readDrawings(const JSON& stack, std::string_view key,
                 const std::function<std::shared_ptr<SketchTool>(SketchToolType)>& makeTool);

    /// Writes what has been noted to the debug log, a line for each place; after 100 places only their number.
    void log() const;

private:
    /// While one lives, reading is at a member of the place before, for the notes.
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
    /// Where reading is at the moment: "drawnStack[3].configuration".
    std::string place_;
    std::vector<std::string> notes_;
    std::size_t noteCount_ = 0;
};

}  // namespace videoanalysis
