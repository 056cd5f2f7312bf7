// The loader interface of protocol filter files: a protocol module reads
// its filters from a file into a CProtoFltExpress through one of these.

#ifndef QUARN_FILTER_CPROTOFLTREADTOOL_H_
#define QUARN_FILTER_CPROTOFLTREADTOOL_H_

#include "quarn_common/base/Export.h"

#include "quarn_common/filter/CProtoFltExpress.h"

class QUARN_EXPORT CProtoFltReadTool {
 public:
  CProtoFltReadTool() = default;
  virtual ~CProtoFltReadTool() = default;
  CProtoFltReadTool(const CProtoFltReadTool&) = default;
  CProtoFltReadTool& operator=(const CProtoFltReadTool&) = default;

  // Loads the filters of the file at `path` into `out`, which must outlive
  // the tool's use of it. Returns 0 when loaded, -1 on failure.
  virtual int Load(const char* path, CProtoFltExpress& out) = 0;
};

#endif  // QUARN_FILTER_CPROTOFLTREADTOOL_H_
