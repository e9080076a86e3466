#pragma once

namespace chainrunner {

/// The text of default_chain.yaml, compiled in.
extern const char* const defaultChain;

}  // namespace chainrunner
