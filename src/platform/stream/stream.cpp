// The out-of-line destructor keeps Stream's vtable in the component.
#include "OvxComponent/platform/stream/stream.h"

namespace OvxUtils {

Stream::~Stream() = default;

}  // namespace OvxUtils
