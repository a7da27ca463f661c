// The mixed program of the analysis and comparison benchmarks: 10 million lines and arcs, made up
// from one section of generated moves repeated, so that making it costs little beside what is
// measured.
#pragma once

#include "nc/nc/NCContext.h"
#include "nc/nc/NCStream.h"
#include "nc/nc/NCTool.h"
#include "util/utility/math/Vector3D.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numbers>
#include <vector>

namespace Quarn::Bench {

inline constexpr std::uint64_t Moves = 10'000'000;
// The moves of one section; the program repeats it, one section per round, up to Moves.
inline constexpr std::size_t SectionMoves = 1 << 16;

struct Move {
    enum Kind : unsigned char { Rapid, Linear, CCWArc, CWArc } kind;
    Vector3D end;
    Vector3D center;
};

// A section of lines and arcs (every fourth move an arc of a quarter to three quarters of a turn,
// either way, many crossing quadrant boundaries), starting with a rapid so that every arc has a
// known start. Deterministic.
inline std::vector<Move> const& section()
{
    static std::vector<Move> const moves = [] {
        std::vector<Move> result;
        result.reserve(SectionMoves);
        std::uint64_t seed = 0x9E3779B97F4A7C15u;
        auto const next = [&seed] {
            seed = seed * 6364136223846793005u + 1442695040888963407u;
            return static_cast<double>(seed >> 11) / static_cast<double>(1ull << 53);
        };
        Vector3D p(0, 0, 5);
        result.push_back({Move::Rapid, p, {}});
        while (result.size() < SectionMoves) {
            if (result.size() % 4 == 3) {
                double const direction = 2.0 * std::numbers::pi * next(), radius = 1.0 + 10.0 * next();
                double const sweep = (0.5 + next()) * std::numbers::pi * (next() < 0.5 ? -1.0 : 1.0);
                Vector3D const c = p + Vector3D(std::cos(direction), std::sin(direction), 0) * radius;
                double const from = std::atan2(p.y - c.y, p.x - c.x) + sweep;
                p = Vector3D(c.x + radius * std::cos(from), c.y + radius * std::sin(from), p.z);
                result.push_back({sweep > 0 ? Move::CCWArc : Move::CWArc, p, c});
            } else {
                p += Vector3D(next() - 0.5, next() - 0.5, 0.1 * (next() - 0.5)) * 20.0;
                result.push_back({Move::Linear, p, {}});
            }
        }
        return result;
    }();
    return moves;
}

// Sends the program into stream: open, per round context, tool, section and its moves, close.
inline bool send(NCStream& stream)
{
    std::vector<Move> const& moves = section();
    Vector3D const normal(0, 0, 1);
    NCContext const context;
    NCTool tool;
    tool.setNumber(1);
    unsigned int const cutting = NCStream::getMovementFlags(NCStream::MOVEMENT_CUTTING);
    if (!stream.onOpen())
        return false;
    for (std::uint64_t sent = 0; sent < Moves;) {
        if (!stream.onContext(context) || !stream.onTool(tool) || !stream.onSection())
            return false;
        std::uint64_t const count = std::min<std::uint64_t>(Moves - sent, moves.size());
        for (std::uint64_t i = 0; i < count; ++i) {
            Move const& m = moves[i];
            bool ok = true;
            switch (m.kind) {
            case Move::Rapid:
                ok = stream.onRapid(m.end, 0);
                break;
            case Move::Linear:
                ok = stream.onLinear(m.end, 1000.0, cutting);
                break;
            case Move::CCWArc:
                ok = stream.onCCWArc(m.center, m.end, normal, 800.0, cutting);
                break;
            case Move::CWArc:
                ok = stream.onCWArc(m.center, m.end, normal, 800.0, cutting);
                break;
            }
            if (!ok)
                return false;
        }
        sent += count;
        if (!stream.onSectionEnd())
            return false;
    }
    return stream.onClose();
}

} // namespace Quarn::Bench
