/// @file
/// What the updater of the debug settings may ask of the owner of the log file.
#include "utilities/debuggingandexceptions/DebugMessageHelperInterface.h"

DebugMessageHelperInterface::~DebugMessageHelperInterface() = default;
