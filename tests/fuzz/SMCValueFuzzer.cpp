// The key decoder: a controller, a recorded table or imitating hardware may answer any type
// with any bytes. The first byte holds the flags, the next four the type, the rest the value.
#include "foundation/Log.h"
#include "hardware/SMCValueCodec.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

using namespace corvane;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // Refused inputs may log a line each, which would be most of the output.
    static corvane::LogCapture quiet([](std::string_view) {}, corvane::LogEcho::Silenced);
    if (size < 5)
        return 0;
    SMCResultData result;
    std::copy_n(data + 1, 4, result.dataType.begin());
    const std::size_t length = std::min<std::size_t>(size - 5, result.bytes.size());
    std::copy_n(data + 5, length, result.bytes.begin());
    result.dataSize = data[0] & 0x01 ? 4 : static_cast<std::uint32_t>(length);
    const float value = convertData(result, (data[0] & 0x02) != 0);
    // Only "flt " passes the bytes through; every other type gives a finite number.
    const std::string_view type(result.dataType.data(), 4);
    if (type != "flt " && !std::isfinite(value))
        std::abort();
    return 0;
}
