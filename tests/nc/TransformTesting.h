// Helpers of the transform filter tests: a random program and a comparison of recorded programs.
#pragma once

#include "nc/nc/NCContext.h"
#include "tests/support/RecordingNCStream.h"
#include "tests/util/math/MathTesting.h"
#include "util/utility/math/Point3D.h"

#include <gtest/gtest.h>

#include <cwchar>
#include <cwctype>

namespace Quarn::TestSupport {

// A context with a random work frame and a section with one move of every mapped kind and a point
// parameter, with random positions and unit directions drawn from seed. A left-handed work plane
// has its up axis reversed.
inline bool sendRandomProgram(NCStream& s, unsigned int seed, bool leftHanded = false)
{
    std::mt19937 random(seed);
    auto p = [&] { return randomVector(random, 100.0); };
    auto d = [&] { return randomVector(random, 1.0).getNormalized(); };
    NCContext context;
    context.setOrigin(p());
    Matrix3x3 plane = randomRotation(random);
    if (leftHanded)
        plane.setUp(-plane.getUp());
    context.setPlane(plane);
    Vector3D const points[] = {p(), p(), p()};
    double const knots[] = {0, 0, 0, 1, 1, 1};
    return s.onContext(context) && s.onParameter("point", Point3D(p())) && s.onRapid(p(), 0) && s.onRapid5D(p(), d(), 0)
        && s.onRapid5D(p(), d(), d(), d(), 0) && s.onLinear(p(), 100, 0) && s.onLinear5D(p(), d(), 100, 0)
        && s.onLinear5D(p(), d(), d(), d(), 100, 0) && s.onCWArc(p(), p(), d(), 100, 0)
        && s.onCCWArc(p(), p(), d(), 100, 0) && s.onCWCircle(p(), p(), d(), 100, 0)
        && s.onCCWCircle(p(), p(), d(), 100, 0) && s.onCircular(p(), p(), d(), -2.5, 100, 0)
        && s.onSpline(p(), p(), p(), 100, 0) && s.onBezier(p(), p(), p(), 100, 0)
        && s.onNURBS(points, 3, knots, 6, 100, 0) && s.onLinearExtrude(p(), 100, 0.5)
        && s.onCWArcExtrude(p(), p(), d(), 100, 0.5, 0) && s.onCCWArcExtrude(p(), p(), d(), 100, 0.5, 0)
        && s.onCircularExtrude(p(), p(), d(), 1.5, 100, 0.5, 0);
}

// The same events (so the same arc senses) with the same numbers within 1e-9.
inline void expectSameProgram(RecordingNCStream const& actual, RecordingNCStream const& expected)
{
    auto const numbers = [](std::wstring const& line) {
        std::vector<double> result;
        for (wchar_t const* p = line.c_str() + line.find(L' '); *p != 0;) {
            if (std::iswdigit(*p) || (*p == L'-' && std::iswdigit(p[1]))) {
                wchar_t* end = nullptr;
                result.push_back(std::wcstod(p, &end));
                p = end;
            } else {
                ++p;
            }
        }
        return result;
    };
    ASSERT_EQ(actual.names(), expected.names());
    for (std::size_t i = 0; i < actual.events.size(); ++i) {
        auto const a = numbers(actual.events[i]), e = numbers(expected.events[i]);
        ASSERT_EQ(a.size(), e.size());
        for (std::size_t k = 0; k < a.size(); ++k)
            EXPECT_NEAR(a[k], e[k], 1e-9) << "event " << i;
    }
}

} // namespace Quarn::TestSupport
