// Export macro for the Host's public interface.
#pragma once

#define TVHOST_API __attribute__((visibility("default")))
