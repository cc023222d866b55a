// Scope guards for trees and for texts that the XML functions hand over.
#pragma once

#include "base/guard.h"
#include "hearth/xml.h"

namespace hearth {

using XmlTree = Owned<XML_Node, cl_xmlFreeNode>;
using XmlText = Owned<char, cl_xmlFreeMem>;

}  // namespace hearth
