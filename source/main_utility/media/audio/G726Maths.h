// The adaptive coding of G.726 sample by sample, in the integer arithmetic of the recommendation: results are the same
// to the last bit everywhere. Names of quantities are the recommendation's.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>

/// A number of the predictor's history as the recommendation's 11-bit float: value = mant * 2^exp / 64.
struct G726_FLOAT {
    int exp = 0;
    int mant = 32;  // 32 to 63
    int sign = 0;   // 0, or -1 for a negative number
};

/// State of one direction of one stream; a fresh one begins a stream.
struct g726_state {
    int yl = 34816;     // locked (steady) step size multiplier
    int yu = 544;       // unlocked (fast) one
    int dms = 0;        // short term energy estimate
    int dml = 0;        // long term energy estimate
    int ap = 0;         // mixes yl and yu
    int16_t a[2] = {};  // pole coefficients
    int16_t b[6] = {};  // zero coefficients
    bool pk[2] = {};    // signs of the last two partially reconstructed signals
    G726_FLOAT dq[6];   // last quantized differences
    G726_FLOAT sr[2];   // last reconstructed signals
    bool td = false;    // a narrow-band signal was seen
};

inline void g726_init_state(g726_state* pState) { *pState = {}; }

namespace g726 {

/// Tables of one rate by code magnitude; negative codes mirror them. Bounds are logarithms of the difference over the step size.
template <int BITS>
struct RATE;

template <>
struct RATE<2> {
    static constexpr int BOUNDS[] = {261};
    static constexpr int DQLN[] = {116, 365};
    static constexpr int WI[] = {-704, 14048};
    static constexpr int FI[] = {0, 0xE00};
};
template <>
struct RATE<3> {
    static constexpr int BOUNDS[] = {8, 218, 331};
    static constexpr int DQLN[] = {-2048, 135, 273, 373};
    static constexpr int WI[] = {-128, 960, 4384, 18624};
    static constexpr int FI[] = {0, 0x200, 0x400, 0xE00};
};
template <>
struct RATE<4> {
    static constexpr int BOUNDS[] = {-124, 80, 178, 246, 300, 349, 400};
    static constexpr int DQLN[] = {-2048, 4, 135, 213, 273, 323, 373, 425};
    static constexpr int WI[] = {-384, 576, 1312, 2048, 3584, 6336, 11360, 35904};
    static constexpr int FI[] = {0, 0, 0, 0x200, 0x200, 0x200, 0x600, 0xE00};
};
template <>
struct RATE<5> {
    static constexpr int BOUNDS[] = {-122, -16, 68, 139, 198, 250, 298, 339, 378, 413, 445, 475, 502, 528, 553};
    static constexpr int DQLN[] = {-2048, -66, 28, 104, 169, 224, 274, 318, 358, 395, 429, 459, 488, 514, 539, 566};
    static constexpr int WI[] = {448,  448,  768,  1248, 1280,  1312,  1856,  3200,
                                 4512, 5728, 7008, 8960, 11456, 14080, 16928, 22272};
    static constexpr int FI[] = {0,     0,     0,     0,     0,     0x200, 0x200, 0x200,
                                 0x200, 0x200, 0x400, 0x600, 0x800, 0xA00, 0xC00, 0xC00};
};

/// What a code stands for.
struct CODE_ROW {
    int dqln;
    int wi;
    int fi;
    int sign;
};

template <int BITS>
constexpr auto CODE_ROWS = [] {
    std::array<CODE_ROW, 1 << BITS> rows{};
    constexpr int CODES = 1 << BITS;
    for (int code = 0; code < CODES; ++code) {
        const bool bNegative = code >= CODES / 2;
        const auto magnitude = bNegative ? CODES - 1 - code : code;
        rows[static_cast<size_t>(code)] = {RATE<BITS>::DQLN[magnitude], RATE<BITS>::WI[magnitude],
                                           RATE<BITS>::FI[magnitude], bNegative ? -1 : 0};
    }
    return rows;
}();

constexpr int MIN_DLN = -1280;  // the logarithm of a difference is 0 to 2047, a quarter of the step size at most 1280
constexpr int DLN_COUNT = 2048 - MIN_DLN;

/// Codes of positive differences by logarithm. Where a code 0 is not allowed, all ones stand for it.
template <int BITS>
constexpr auto CODES = [] {
    std::array<uint8_t, DLN_COUNT> codes{};
    for (int i = 0; i < DLN_COUNT; ++i) {
        int magnitude = 0;
        for (const int bound : RATE<BITS>::BOUNDS) magnitude += i + MIN_DLN >= bound;
        codes[static_cast<size_t>(i)] = static_cast<uint8_t>(magnitude);
    }
    return codes;
}();

inline int Width(int value) { return std::bit_width(static_cast<unsigned>(value)); }

/// FMULT: a coefficient by a number of the history.
inline int Product(int coefficient, const G726_FLOAT& number) {
    const int an = coefficient >> 2;
    const int anSign = an >> 31;
    const int anMag = ((an ^ anSign) - anSign) & 0x1FFF;
    const int anExp = Width(anMag);
    const int anMant = (anMag << 6 | (anMag == 0) << 5) >> anExp;
    const auto mant = static_cast<uint64_t>((anMant * number.mant + 48) >> 4);
    const int product = static_cast<int>(mant << (anExp + number.exp) >> 19 & 0x7FFF);
    const int sign = anSign ^ number.sign;
    return (product ^ sign) - sign;
}

/// FLOATA, FLOATB: of a magnitude of 15 bits.
inline G726_FLOAT Float(int magnitude, int sign) {
    const int exp = Width(magnitude);
    return {exp, (magnitude << 6 | (magnitude == 0) << 5) >> exp, sign};
}

/// What one sample has to do with the state: estimate, then the code of the difference, then the adaptation.
template <int BITS>
class CSample {
public:
    explicit CSample(g726_state& state) : m_state(state) {
        int zero = 0;
        for (int i = 0; i < 6; ++i) zero += Product(state.b[i], state.dq[i]);
        const int sezi = static_cast<int16_t>(zero);
        m_sez = sezi >> 1;
        m_se = static_cast<int16_t>(sezi + Product(state.a[0], state.sr[0]) + Product(state.a[1], state.sr[1])) >> 1;
        m_y = StepSize();
    }

    /// The code of a sample of 14 bits.
    int Quantize(int sl) const {
        const int d = static_cast<int16_t>(sl - m_se);
        const int dqm = d < 0 ? -d : d;
        const int exp = Width(dqm >> 1);
        const int dl = exp << 7 | ((dqm << 7 >> exp) & 0x7F);
        const int magnitude = CODES<BITS>[static_cast<size_t>(dl - (m_y >> 2) - MIN_DLN)];
        const bool bInverted = d < 0 || (BITS != 2 && magnitude == 0);
        return bInverted ? (1 << BITS) - 1 - magnitude : magnitude;
    }

    /// Takes up the code. The reconstructed signal, 14 bits.
    int Reconstruct(int code) {
        const CODE_ROW& row = CODE_ROWS<BITS>[static_cast<size_t>(code)];
        const int mag = Magnitude(row.dqln + (m_y >> 2));
        const int sr = static_cast<int16_t>(m_se + ((mag ^ row.sign) - row.sign));
        Adapt(row, mag, sr, static_cast<int16_t>(sr + m_sez - m_se));
        return sr;
    }

private:
    /// MIX: y between the fast and the steady value.
    int StepSize() const {
        if (m_state.ap >= 256) return m_state.yu;
        const int y = m_state.yl >> 6;
        const int product = (m_state.yu - y) * (m_state.ap >> 2);
        return y + (product < 0 ? (product + 63) >> 6 : product >> 6);
    }

    /// ANTILOG, 15 bits.
    static int Magnitude(int dql) {
        if (dql < 0) return 0;
        return (128 + (dql & 127)) << 7 >> (14 - (dql >> 7 & 15));
    }

    void Adapt(const CODE_ROW& row, int mag, int sr, int dqsez) {
        const bool tr = m_state.td && mag > ToneThreshold();
        AdaptStepSize(row.wi);
        const int sign = dqsez < 0;
        int a2 = 0;
        if (tr) {
            std::fill(std::begin(m_state.a), std::end(m_state.a), int16_t{0});
            std::fill(std::begin(m_state.b), std::end(m_state.b), int16_t{0});
        } else {
            a2 = AdaptPoles(dqsez, sign);
            AdaptZeros(mag, row.sign);
        }
        for (int i = 5; i > 0; --i) m_state.dq[i] = m_state.dq[i - 1];
        m_state.dq[0] = Float(mag, row.sign);
        m_state.sr[1] = m_state.sr[0];
        m_state.sr[0] = Float((sr < 0 ? -sr : sr) & 0x7FFF, sr < 0 ? -1 : 0);
        m_state.pk[1] = m_state.pk[0];
        m_state.pk[0] = sign;
        m_state.td = !tr && a2 < -11776;
        AdaptSpeed(row.fi, tr);
    }

    int ToneThreshold() const {
        const int ylint = m_state.yl >> 15;
        const int thr = ylint > 9 ? 31 << 10 : (32 + (m_state.yl >> 10 & 31)) << ylint;
        return (thr + (thr >> 1)) >> 1;
    }

    void AdaptStepSize(int wi) {
        m_state.yu = std::clamp(m_y + ((wi - m_y) >> 5), 544, 5120);
        m_state.yl += m_state.yu + (-m_state.yl >> 6);
    }

    /// The new a2.
    int AdaptPoles(int dqsez, bool sign) {
        const bool pks1 = sign != m_state.pk[0];
        const bool pks2 = sign != m_state.pk[1];
        const int a1 = m_state.a[0];
        int a2 = m_state.a[1] - (m_state.a[1] >> 7);
        int change = 0;
        if (dqsez != 0) {
            const int fa1 = pks1 ? a1 : -a1;
            a2 += fa1 < -8191 ? -256 : fa1 > 8191 ? 255 : fa1 >> 5;
            a2 = std::clamp(a2 + (pks2 ? -128 : 128), -12288, 12288);
            change = pks1 ? -192 : 192;
        }
        const int limit = 15360 - a2;
        m_state.a[0] = static_cast<int16_t>(std::clamp(a1 - (a1 >> 8) + change, -limit, limit));
        m_state.a[1] = static_cast<int16_t>(a2);
        return a2;
    }

    void AdaptZeros(int mag, int dqSign) {
        constexpr int LEAK = BITS == 5 ? 9 : 8;
        const int step = mag ? 128 : 0;
        for (int i = 0; i < 6; ++i) {
            const int sign = dqSign ^ m_state.dq[i].sign;
            m_state.b[i] = static_cast<int16_t>(m_state.b[i] - (m_state.b[i] >> LEAK) + ((step ^ sign) - sign));
        }
    }

    void AdaptSpeed(int fi, bool tr) {
        m_state.dms += (fi - m_state.dms) >> 5;
        m_state.dml += ((fi << 2) - m_state.dml) >> 7;
        const int difference = (m_state.dms << 2) - m_state.dml;
        const bool bFast = m_y < 1536 || m_state.td || (difference < 0 ? -difference : difference) >= m_state.dml >> 3;
        m_state.ap = tr ? 256 : m_state.ap + (((bFast ? 512 : 0) - m_state.ap) >> 4);
    }

    g726_state& m_state;
    int m_sez;
    int m_se;
    int m_y;
};

}  // namespace g726
