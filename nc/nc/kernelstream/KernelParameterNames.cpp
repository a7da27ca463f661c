// The parameter names of the kernel's entities, built once from the library's namespace base.
#include "nc/nc/kernelstream/KernelParameterNames.h"

#include "nc/nc/NCStream.h"

#include <array>

namespace Quarn {

namespace {

using Entity = KernelParameterNames::Entity;

// In the order of Entity.
constexpr std::array<std::string_view, KernelParameterNames::EntityCount> ShortNames = {"feedrate", "tool-axis",
    "contact-normal", "progress", "toolpath-break", "begin-fragment", "end-fragment", "expand-open", "expand-close",
    "information", "warning", "error", "debug", "task-id", "error-code"};

std::array<std::string, KernelParameterNames::EntityCount> const& names()
{
    static std::array<std::string, KernelParameterNames::EntityCount> const all = [] {
        std::array<std::string, KernelParameterNames::EntityCount> built;
        for (std::size_t i = 0; i < built.size(); ++i)
            built[i] = KernelParameterNames::getNamespace() + std::string(ShortNames[i]);
        return built;
    }();
    return all;
}

} // namespace

std::string const& KernelParameterNames::getNamespace()
{
    static std::string const prefix = std::string(NCStream::NamespaceBaseA) + "/namespace/camkernel/";
    return prefix;
}

std::string const& KernelParameterNames::getName(Entity entity) { return names()[static_cast<std::size_t>(entity)]; }

std::optional<Entity> KernelParameterNames::find(std::string_view name)
{
    std::string const& prefix = getNamespace();
    if (!name.starts_with(prefix))
        return std::nullopt;
    name.remove_prefix(prefix.size());
    for (std::size_t i = 0; i < ShortNames.size(); ++i)
        if (ShortNames[i] == name)
            return static_cast<Entity>(i);
    return std::nullopt;
}

std::string const& KernelParameterNames::getFeedrateName() { return getName(Entity::Feedrate); }
std::string const& KernelParameterNames::getToolAxisName() { return getName(Entity::ToolAxis); }
std::string const& KernelParameterNames::getContactNormalName() { return getName(Entity::ContactNormal); }
std::string const& KernelParameterNames::getProgressName() { return getName(Entity::Progress); }
std::string const& KernelParameterNames::getToolpathBreakName() { return getName(Entity::ToolpathBreak); }
std::string const& KernelParameterNames::getBeginFragmentName() { return getName(Entity::BeginFragment); }
std::string const& KernelParameterNames::getEndFragmentName() { return getName(Entity::EndFragment); }
std::string const& KernelParameterNames::getExpandOpenName() { return getName(Entity::ExpandOpen); }
std::string const& KernelParameterNames::getExpandCloseName() { return getName(Entity::ExpandClose); }
std::string const& KernelParameterNames::getInformationName() { return getName(Entity::Information); }
std::string const& KernelParameterNames::getWarningName() { return getName(Entity::Warning); }
std::string const& KernelParameterNames::getErrorName() { return getName(Entity::Error); }
std::string const& KernelParameterNames::getDebugName() { return getName(Entity::Debug); }
std::string const& KernelParameterNames::getTaskIdName() { return getName(Entity::TaskId); }
std::string const& KernelParameterNames::getErrorCodeName() { return getName(Entity::ErrorCode); }

} // namespace Quarn
