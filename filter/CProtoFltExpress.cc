#include "filter/CProtoFltExpress.h"

void CProtoFltExpress::InsertOneFltExpress(COneFltExpress* express) {
  list.push_back(express);
}

void CProtoFltExpress::Destroy() {
  for (COneFltExpress*& express : list) {
    COneFltExpress* doomed = express;
    express = nullptr;
    DestroyOneFltExpress(doomed);
  }
  list.clear();
}
