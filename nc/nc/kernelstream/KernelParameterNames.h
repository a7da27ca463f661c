// The names of the NC parameters under which the CAM kernel's own entities travel through an NC stream.
#pragma once

#include "util/utility/Export.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Quarn {

// Every name is a full URI: NamespaceBaseA + "/namespace/camkernel/" + a short name. The value
// type each one travels with is given beside it; ToolpathNCStreamBinder sends them and
// NCKernelOutputBinder turns them back into kernel entities.
class QUARN_NC_EXPORT KernelParameterNames {
public:
    enum class Entity : std::uint8_t {
        Feedrate, // "feedrate": a kernel parameter, its value the shortest text of a number
        ToolAxis, // "tool-axis": Point3D
        ContactNormal, // "contact-normal": Point3D
        Progress, // "progress": double, 0 to 1
        ToolpathBreak, // "toolpath-break": int 1
        BeginFragment, // "begin-fragment": int 1
        EndFragment, // "end-fragment": int 1
        ExpandOpen, // "expand-open": int 1
        ExpandClose, // "expand-close": int 1
        Information, // "information": wide text
        Warning, // "warning": wide text
        Error, // "error": wide text
        Debug, // "debug": wide text
        TaskId, // "task-id": wide text
        ErrorCode, // "error-code": int
    };
    static constexpr std::size_t EntityCount = 15;

    // NamespaceBaseA + "/namespace/camkernel/", the prefix of every name.
    static std::string const& getNamespace();

    static std::string const& getFeedrateName();
    static std::string const& getToolAxisName();
    static std::string const& getContactNormalName();
    static std::string const& getProgressName();
    static std::string const& getToolpathBreakName();
    static std::string const& getBeginFragmentName();
    static std::string const& getEndFragmentName();
    static std::string const& getExpandOpenName();
    static std::string const& getExpandCloseName();
    static std::string const& getInformationName();
    static std::string const& getWarningName();
    static std::string const& getErrorName();
    static std::string const& getDebugName();
    static std::string const& getTaskIdName();
    static std::string const& getErrorCodeName();

    // The name of an entity; the accessors above return the same strings.
    static std::string const& getName(Entity entity);
    // The entity a full name stands for; empty for any other name.
    static std::optional<Entity> find(std::string_view name);
};

} // namespace Quarn
