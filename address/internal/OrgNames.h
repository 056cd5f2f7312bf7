// Built-in display names of the company address plan.

#ifndef QUARN_ADDRESS_INTERNAL_ORGNAMES_H_
#define QUARN_ADDRESS_INTERNAL_ORGNAMES_H_

#include "base/internal/BuiltinTexts.h"

namespace quarn_org {

using quarn_texts::kAbnormalExternalName;
using quarn_texts::kAbnormalIntranetName;
using quarn_texts::kDmzName;
using quarn_texts::kIntranetName;
using quarn_texts::kServerName;
using quarn_texts::kUnclassifiedName;
using quarn_texts::kUnknownDepName;

}  // namespace quarn_org

#endif  // QUARN_ADDRESS_INTERNAL_ORGNAMES_H_
