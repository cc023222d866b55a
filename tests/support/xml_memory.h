// Lets the n-th allocation of the XML functions fail. Using it replaces XML_Malloc and XML_Realloc
// in the test program.
#pragma once

namespace hearth::test {

// Of the calling thread, the next `allocations` succeed and all later ones fail; -1 for none.
void fail_xml_memory_after(int allocations);

}  // namespace hearth::test
