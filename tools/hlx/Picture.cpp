#include "Picture.h"

std::string_view JpegOf(std::string_view strBytes) {
    using namespace std::string_view_literals;
    const size_t nLast = strBytes.find_last_not_of('\0');
    if (nLast == std::string_view::npos) return {};
    strBytes = strBytes.substr(0, nLast + 1);
    const bool bWhole =
        strBytes.size() > 4 && strBytes.starts_with("\xFF\xD8\xFF"sv) && strBytes.ends_with("\xFF\xD9"sv);
    return bWhole ? strBytes : std::string_view();
}
