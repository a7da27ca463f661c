// A persistent object as a tree of nodes: the step between objects and their stored bytes.
#pragma once

#include "nc/nc/persist/Node.h"
#include "nc/nc/persist/Persistent.h"
#include "util/utility/Export.h"

#include <utility>

namespace Quarn::persist {

// The root node is the object itself: named as stored, its class name as type tag.
class QUARN_NC_EXPORT NodeStore {
public:
    NodeStore() = default;
    explicit NodeStore(Node root) noexcept : root(std::move(root)) { }

    // Lists the members of object into a new tree whose root is called name.
    static NodeStore write(char const* name, Persistent& object);
    // Reads the members of object from the tree. Throws IOException when the root is not
    // called name or holds an object of another class, or as Persist describes.
    void read(char const* name, Persistent& object) const;

    Node const& getRoot() const& noexcept { return root; }
    Node& getRoot() & noexcept { return root; }
    // From a temporary store the tree is moved out, so that `write(...).getRoot()` is safe to keep.
    Node getRoot() && noexcept { return std::move(root); }

private:
    Node root;
};

} // namespace Quarn::persist
