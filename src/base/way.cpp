#include "base/way.h"

namespace {

bool isClassic = true;

} // namespace

bool Classic() { return isClassic; }
void SetClassic(bool classic) { isClassic = classic; }
