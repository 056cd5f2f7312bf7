// The filter list of a policy: filter i is list[i], in insertion order.
// The list holds pointers; the derived class of a protocol module creates
// and releases the expressions (NewOneFltExpress, DestroyOneFltExpress),
// since only it knows their concrete type. Copies share the pointers.

#ifndef QUARN_FILTER_CPROTOFLTEXPRESS_H_
#define QUARN_FILTER_CPROTOFLTEXPRESS_H_

#include "quarn_common/base/Export.h"

#include <vector>

#include "quarn_common/filter/COneFltExpress.h"

class QUARN_EXPORT CProtoFltExpress {
 public:
  CProtoFltExpress() {}
  // Frees the array only; call Destroy() first to release the expressions.
  virtual ~CProtoFltExpress() {}
  CProtoFltExpress(const CProtoFltExpress&) = default;
  CProtoFltExpress& operator=(const CProtoFltExpress&) = default;

  // Appends `express`; the list does not take ownership.
  virtual void InsertOneFltExpress(COneFltExpress* express);
  // A new, empty expression of the derived filter's type, for readers that
  // build the list. The caller inserts it (or releases it with
  // DestroyOneFltExpress).
  virtual COneFltExpress* NewOneFltExpress() = 0;
  // Releases one expression made by the derived class.
  virtual void DestroyOneFltExpress(COneFltExpress* express) = 0;

  // Releases every expression in list order through DestroyOneFltExpress,
  // then empties the list.
  void Destroy();

  std::vector<COneFltExpress*> list;
};

#endif  // QUARN_FILTER_CPROTOFLTEXPRESS_H_
