// NodeStore: runs the member protocol of an object against the root node.
#include "nc/nc/persist/NodeStore.h"

#include "nc/nc/persist/Persist.h"
#include "util/utility/IOException.h"
#include "util/utility/text/Unicode.h"

namespace Quarn::persist {

NodeStore NodeStore::write(char const* name, Persistent& object)
{
    NodeStore store(Node(name, object.iceDynamicClass().getName()));
    Persist persist(store.root);
    object.iceListMembers(persist);
    return store;
}

void NodeStore::read(char const* name, Persistent& object) const
{
    std::wstring const wideName = Unicode::fromUTF8(name);
    if (root.getName() != name)
        throw IOException(
            L"Member '" + wideName + L"' not found; the data holds '" + Unicode::fromUTF8(root.getName()) + L"'.");
    char const* type = object.iceDynamicClass().getName();
    if (root.getType() != type)
        throw IOException(L"Member '" + wideName + L"' has type '" + Unicode::fromUTF8(root.getType())
            + L"', expected '" + Unicode::fromUTF8(type) + L"'.");
    Persist persist(root);
    object.iceListMembers(persist);
}

} // namespace Quarn::persist
