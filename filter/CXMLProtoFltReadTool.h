// The XML skeleton of a protocol filter file reader.
//
// Load() opens the file, remembers the target expression list and gathers
// the identifiers (application ids, typically) that the derived reader
// reports through CollectIds(). The element layout of a filter file belongs
// to each protocol module: its derived reader walks the open document
// (`xml`), creates expressions through the target's NewOneFltExpress() and
// fills them with the CConfigFilterBase readers of `xml` and with the
// element-level hooks below, which read nothing here. Hooks are virtual in
// this order: LoadFlt, ReadOneFlt, ReadOneFltExpress, ReadAttrCol,
// ReadFilterAttribute, ReadAttrColSubtypes.
//
// Not thread-safe; one thread loads at a time.

#ifndef QUARN_FILTER_CXMLPROTOFLTREADTOOL_H_
#define QUARN_FILTER_CXMLPROTOFLTREADTOOL_H_

#include "quarn_common/base/Export.h"

#include <stdint.h>

#include <set>
#include <string>
#include <vector>

#include "quarn_common/filter/CConfigFilterBase.h"
#include "quarn_common/filter/CFilterActionContent.h"
#include "quarn_common/filter/COneFltExpress.h"
#include "quarn_common/filter/CProtoFltExpress.h"
#include "quarn_common/filter/CProtoFltReadTool.h"

class QUARN_EXPORT CXMLProtoFltReadTool : public CProtoFltReadTool {
 public:
  // No document, no target, no identifiers, application type 0.
  CXMLProtoFltReadTool();
  // Closes the document.
  ~CXMLProtoFltReadTool() override;
  // Copies carry the target pointer, the identifiers, the application type
  // and a deep copy of the open document.
  CXMLProtoFltReadTool(const CXMLProtoFltReadTool& other) = default;
  CXMLProtoFltReadTool& operator=(const CXMLProtoFltReadTool& other) = default;

  // Opens `path` (-1 at once when it does not open, nothing changed), makes
  // `out` the target and adds the identifiers CollectIds() reports to those
  // of earlier loads. Returns 0 when the identifier set is not empty
  // afterwards, else -1 (the document stays open and `out` the target).
  int Load(const char* path, CProtoFltExpress& out) override;

  // The identifiers the derived reader serves: appends them to `ids`,
  // which Load() passes in empty. The document is open while it runs.
  virtual void CollectIds(std::vector<unsigned int>& ids) = 0;

  // Reads the filters named `names`; the meaning of `flags` is the derived
  // reader's. Reads nothing here: 0.
  virtual int LoadFlt(const std::vector<std::string>& names, uint64_t flags);
  // Reads the filter element `node` as filter number `index` of the target.
  // Reads nothing here: 0.
  virtual int ReadOneFlt(TiXmlNode& node, int index);
  // Reads the conditions of one filter element into `express`, an
  // expression of the derived filter's own type. Every derived reader
  // supplies it; Load() does not call it.
  virtual int ReadOneFltExpress(COneFltExpress& express, TiXmlNode& node) = 0;
  // Reads the action column `name` of a filter element into `action`.
  // Reads nothing here: 1.
  virtual int ReadAttrCol(CFilterActionContent& action, const char* name,
                          TiXmlNode& node);
  // Reads the action attributes of a filter element. Reads nothing: 0.
  virtual int ReadFilterAttribute(CFilterActionContent& action,
                                  TiXmlNode& node);
  // Reads the application subtypes of an action column. Reads nothing: 0.
  virtual int ReadAttrColSubtypes(CFilterActionContent& action,
                                  TiXmlNode& node);

  void SetAppType(int type) { app_type = type; }
  int GetAppType() const { return app_type; }
  // The target of the last Load() that opened its file; null before.
  CProtoFltExpress* GetExpress() const { return express; }
  // Every identifier gathered so far, ascending, without repeats.
  const std::set<uint32_t>& GetIds() const { return ids; }

 protected:
  CProtoFltExpress* express;  // not owned
  std::set<uint32_t> ids;
  CConfigFilterBase xml;  // the open document and the expression readers
  int32_t app_type;
};

#endif  // QUARN_FILTER_CXMLPROTOFLTREADTOOL_H_
