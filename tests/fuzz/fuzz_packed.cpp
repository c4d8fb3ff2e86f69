// Any bytes as pieces of packed messages. Input: pieces of two bytes of length and that many bytes.
#include <cstdlib>

#include "sdk_common/WireReader.h"
#include "unit/classic/TestRecorder.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t size) {
    CPackedCombiner combiner;
    CWireReader reader(pData, size);
    size_t fed = 0;
    while (reader.Left() >= 2) {
        const auto length = reader.Read<tuint16>();
        const auto piece = reader.Bytes(std::min<size_t>(length, reader.Left()));
        const std::vector<std::byte> exact(piece.begin(), piece.end());
        fed += exact.size();
        const auto whole = combiner.AddPiece(exact);
        // Nothing comes out, and nothing is held, that did not come in.
        if (whole.size() > fed || combiner.HeldBytes() > 2 * fed) std::abort();
    }
    return 0;
}
