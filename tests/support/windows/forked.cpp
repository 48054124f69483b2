#include "support/forked.h"

int ForkedResult(const std::function<int()>& body)
{
    return body();
}
