#include "support/forked.h"

bool RunForked(bool (*body)())
{
    return body();
}
