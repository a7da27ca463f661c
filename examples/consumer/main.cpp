// Uses the installed library: unit conversion, vectors and an exception thrown across the library boundary.
#include "nc/nc/NCUnit.h"
#include "util/utility/NullPointerException.h"
#include "util/utility/SafePointer.h"
#include "util/utility/math/Vector3D.h"

#include <cstdio>

int main()
{
    using namespace Quarn;
    double millimetres = NCUnit::getMillimeters(2.0, NCUnit::INCHES);
    Vector3D end(1.5, -2.0, millimetres);
    std::printf("2 inches = %g mm, end %ls\n", millimetres, end.getAsString().c_str());

    SafePointer<Vector3D> empty;
    try {
        empty->getModulus();
    } catch (RuntimeException const& e) {
        std::printf("caught: %s\n", e.what());
        return millimetres == 50.8 ? 0 : 1;
    }
    return 1;
}
