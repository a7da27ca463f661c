// Checks every reader's tests share: how an import stops when its abort source is aborted.
#pragma once

#include "tests/support/RecordingNCStream.h"
#include "util/utility/AbortableImpl.h"
#include "util/utility/io/MemoryInputStream.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Quarn::TestSupport {

// The names of the events a reader sends of input when its abort source is aborted at the first
// event of that name: the import must answer false, and the reader's own abort source and an
// external one (setAbortable) must stop it alike.
template <class Reader>
std::vector<std::wstring> namesWhenAbortedAt(std::wstring const& eventName, std::string const& input)
{
    std::vector<std::wstring> names[2];
    for (bool const own : {true, false}) {
        AbortableImpl external;
        Reader reader;
        RecordingNCStream recorder;
        recorder.abortAt(eventName, own ? static_cast<AbortableImpl&>(reader) : external);
        if (!own)
            reader.setAbortable(&external);
        reader.setNCStream(&recorder);
        MemoryInputStream in(input);
        EXPECT_FALSE(reader.import(&in)) << (own ? "own abort source" : "external abort source");
        names[own ? 0 : 1] = recorder.names();
    }
    EXPECT_EQ(names[0], names[1]) << "the own and the external abort source stop alike";
    return names[0];
}

} // namespace Quarn::TestSupport
