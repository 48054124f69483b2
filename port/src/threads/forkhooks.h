// What other areas of the port do when the process has forked; called in the child, on its only thread.
#pragma once

void PortForgetThreadIds() noexcept;
