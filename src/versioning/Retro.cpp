#include "versioning/Retro.h"

namespace quorel {

template class Retro<bool>;
template class Retro<int>;
template class Retro<double>;
template class Retro<std::string>;
template class Retro<TinyVector<float, 3>>;

}  // namespace quorel
