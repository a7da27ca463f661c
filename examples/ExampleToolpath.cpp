// The example kernel toolpath.
#include "examples/ExampleToolpath.h"

namespace Quarn::Examples {

namespace {

using Movement = NCStream::Movement;

Vector3D const Up(0, 0, 1);

// One slice at depth z: the outline of the pocket offset by the tool radius, corners rounded.
void writeSlice(KernelOutputInterface& out, double z)
{
    double const r = 3.0; // corner radius
    out.writeBeginPathFragment();
    out.writeLine({5, 5 + r, 5}, NCStream::MOVEMENT_RAPID);
    out.writeLine({5, 5 + r, z + 1}, NCStream::MOVEMENT_RAPID);
    out.writeLine({5, 5 + r, z}, NCStream::MOVEMENT_PLUNGE);
    out.writeLine({5, 25 - r, z}, NCStream::MOVEMENT_CUTTING);
    // Arcs run counter-clockwise about their normal: this outline is clockwise seen from above.
    Vector3D const down(0, 0, -1);
    out.writeArc({5 + r, 25, z}, {5 + r, 25 - r, z}, down, NCStream::MOVEMENT_CUTTING);
    out.writeLine({35 - r, 25, z}, NCStream::MOVEMENT_CUTTING);
    out.writeArc({35, 25 - r, z}, {35 - r, 25 - r, z}, down, NCStream::MOVEMENT_CUTTING);
    out.writeLine({35, 5 + r, z}, NCStream::MOVEMENT_CUTTING);
    out.writeArc({35 - r, 5, z}, {35 - r, 5 + r, z}, down, NCStream::MOVEMENT_CUTTING);
    out.writeLine({5 + r, 5, z}, NCStream::MOVEMENT_CUTTING);
    out.writeArc({5, 5 + r, z}, {5 + r, 5 + r, z}, down, NCStream::MOVEMENT_FINISH_CUTTING);
    out.writeLine({8, 8, z + 0.5}, NCStream::MOVEMENT_LEAD_OUT);
    out.writeLine({8, 8, 5}, NCStream::MOVEMENT_RAPID);
    out.writeEndPathFragment();
}

} // namespace

void writeKernelToolpath(KernelOutputInterface& out)
{
    out.writeHeader();
    out.writeTaskId(L"pocket roughing, job 42");
    out.writeParameter(L"tolerance", L"0.01");
    out.writeProgress(0.0);
    out.writeToolpathOpen();
    out.writeToolAxis(Up);
    writeSlice(out, -2);
    out.writeProgress(0.5);
    out.writeInformation(L"Slice 1 of 2 done.");
    writeSlice(out, -4);
    out.writeDwell(0.5);
    out.writeWarning(L"Stock left near (35, 25): 0.3 mm in the corner.");
    out.writeToolpathClose();
    out.writeProgress(1.0);
    out.writeProcessInfo(1520, 0.87, 52428800, 73400320);
    out.writeEnd();
}

} // namespace Quarn::Examples
