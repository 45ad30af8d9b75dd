#include <vantora/version.h>

const char *Vantora::runtimeVersion()
{
    return VANTORA_VERSION_STRING;
}
