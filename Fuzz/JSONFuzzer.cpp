// JSON text: accepted texts must round-trip; all others must be rejected with an error.

#include "VideoAnalysis/JSON/JSON.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

using videoanalysis::JSON;
using videoanalysis::JSONError;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    JSON value;
    try {
        value = JSON::parse(text);
    } catch (const JSONError& error) {
        const JSONError::Kind kind = error.kind();
        if (kind != JSONError::Kind::invalidJSON && kind != JSONError::Kind::elementTooDeep) std::abort();
        return 0;
    }
    const std::string written = value.serialized();
    const JSON read = JSON::parse(written);
    if (read != value || read.serialized() != written) std::abort();

    JSON merged = value;
    merged.merge(read);
    if (value != read || merged.type() != value.type()) std::abort();
    return 0;
}
