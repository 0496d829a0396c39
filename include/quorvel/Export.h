#pragma once

// Marks what the SDK's shared libraries export: their public API, and the few internal classes
// one of the SDK's own libraries uses from another. Everything else stays inside its library.
#define QUORVEL_EXPORT __attribute__((visibility("default")))
