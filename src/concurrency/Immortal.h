#pragma once

namespace quorel {

/// Room for a global object that is constructed but never destroyed: exit() runs the destructors of globals while
/// other threads still work, and these must go on finding their locks.
template <class T>
union Immortal {
  template <class... Arguments>
  constexpr explicit Immortal(Arguments... arguments) : object(arguments...) {}
  ~Immortal() {}

  T object;
};

}  // namespace quorel
