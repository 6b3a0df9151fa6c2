// Export macro for the Host's public interface.
#pragma once

#define TVHOST_API __attribute__((visibility("default")))

/// Marks a function a module exports to the Host by name: kdrxEntryPoint, and the functions the
/// Host calls through KdRxDynamicLinker::getSymbolAddress.
#define TVHOST_MODULE_EXPORT extern "C" __attribute__((visibility("default")))
