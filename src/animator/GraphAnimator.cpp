#include "animator/GraphAnimator.h"

#include "animator/GraphAnimatorDrawing.hpp"
#include "animator/GraphAnimatorFrame.hpp"
#include "animator/GraphAnimatorInput.hpp"

namespace quorel {

template class GraphAnimator<GraphLayout<LayoutSchema>>;

}  // namespace quorel
