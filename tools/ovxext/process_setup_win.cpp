// Settings of the ovxext process on Windows: none, the heap keeps freed memory already.
#include "process_setup.h"

namespace Ovxext {

void SetUpProcess() {}

}  // namespace Ovxext
