// The URIs of the compact NCI format, built once from the library's namespace base.
#include "nc/nc/io/CompactNCIImpl.h"

#include "nc/nc/NCStream.h"

namespace Quarn {

namespace {

std::string makeUri(std::string_view path)
{
    std::string uri(NCStream::NamespaceBaseA);
    uri += path;
    return uri;
}

std::string toolParameter(std::string_view suffix)
{
    return makeUri("/namespace/nc/format/compact-nci/parameter/").append(suffix);
}

} // namespace

std::string const& CompactNCIImpl::getUri()
{
    static std::string const uri = makeUri("/namespace/nc/format/compact-nci");
    return uri;
}

std::string const& CompactNCIImpl::getToolDescriptionUri()
{
    static std::string const name = toolParameter("tool-description");
    return name;
}

std::string const& CompactNCIImpl::getToolCommentUri()
{
    static std::string const name = toolParameter("tool-comment");
    return name;
}

std::string const& CompactNCIImpl::getToolVendorUri()
{
    static std::string const name = toolParameter("tool-vendor");
    return name;
}

std::string const& CompactNCIImpl::getToolProductIdUri()
{
    static std::string const name = toolParameter("tool-product-id");
    return name;
}

std::string const& CompactNCIImpl::getToolHolderDescriptionUri()
{
    static std::string const name = toolParameter("tool-holder-description");
    return name;
}

std::string const& CompactNCIImpl::getToolHolderCommentUri()
{
    static std::string const name = toolParameter("tool-holder-comment");
    return name;
}

std::string const& CompactNCIImpl::getToolHolderVendorUri()
{
    static std::string const name = toolParameter("tool-holder-vendor");
    return name;
}

std::string const& CompactNCIImpl::getToolHolderProductIdUri()
{
    static std::string const name = toolParameter("tool-holder-product-id");
    return name;
}

std::string const& CompactNCIImpl::getToolAggregateIdUri()
{
    static std::string const name = toolParameter("tool-aggregate-id");
    return name;
}

std::string const& CompactNCIImpl::getForceToolChangeUri()
{
    static std::string const uri = makeUri("/namespace/nc/parameter/force-tool-change");
    return uri;
}

} // namespace Quarn
