// How far a policy reads a tree, and what can be told of every event of the tree beforehand.
#pragma once

#include "event/policy.h"
#include "event/tree.h"

namespace tarnlex {

// Under the literal policy character data, references and processing instructions end a stream;
// what cannot be read ends it under both.
TreeExtent ExtentOf(const Tree& tree, Policy policy);

}  // namespace tarnlex
