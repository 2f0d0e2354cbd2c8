// SubtypeInfo: its destructor anchors the class's virtual table in the component.
#include "OvxComponent/container/subtype_info.h"

namespace VdcContainer {

SubtypeInfo::~SubtypeInfo() = default;

}  // namespace VdcContainer
