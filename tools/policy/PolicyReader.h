// Reading a connection policy file: the expression reader (the library's
// CConfigFilterBase with real range, size, string, integer, keyword and
// time readers) and the file reader (CXMLProtoFltReadTool walking the
// filter elements). The layout is described in docs/FORMATS.md,
// "Connection policy file (tools)".
//
// Problems are collected in a PolicyDiagnostics, one line each, naming
// the file, the line and the filter. A warning means an entry was skipped
// and the rest loaded; an error means the policy cannot work as written.

#ifndef QUARN_TOOLS_POLICY_POLICYREADER_H_
#define QUARN_TOOLS_POLICY_POLICYREADER_H_

#include <stdint.h>

#include <string>
#include <vector>

#include "address/CLocalIPTypeTable.h"
#include "filter/CConfigFilterBase.h"
#include "filter/CXMLProtoFltReadTool.h"
#include "objects/CIPObjMgr.h"
#include "objects/CKeyTypeObjMgr.h"
#include "objects/CTimeObjMgrConfig.h"
#include "tools/policy/PolicyFilter.h"
#include "url/CSimpleURLTypeConfig.h"

namespace quarn_tool {

// The configuration a policy names objects from. Not owned; each must stay
// loaded and unchanged while the policy is used. A null manager makes the
// kinds that name its objects untestable (reported as an error).
struct PolicyObjects {
  const CLocalIPTypeTable* plan = nullptr;            // departments, classes
  const CIPObjMgr* ip_objects = nullptr;              // IP objects
  const CTimeObjMgrConfig* time_objects = nullptr;    // time objects
  const CKeyTypeObjMgr* key_types = nullptr;          // keyword types
  const CSimpleURLTypeConfig* system_urls = nullptr;  // system categories
  const CSimpleURLTypeConfig* user_urls = nullptr;    // user categories
};

// Collects the messages of one load, each
// "FILE:LINE: warning: filter N "NAME": what" or the same with "error".
// Names are GBK, as in the file.
class PolicyDiagnostics {
 public:
  explicit PolicyDiagnostics(const std::string& path) : path_(path) {}

  // The filter the following messages are about; index -1 for none.
  void SetFilter(int index, const std::string& name);
  // An entry at `line` was skipped; the rest loads.
  void Warn(int line, const std::string& what);
  // The policy cannot work as written.
  void Error(int line, const std::string& what);

  const std::vector<std::string>& messages() const { return messages_; }
  int error_count() const { return errors_; }
  const std::string& path() const { return path_; }

 private:
  void Add(int line, const char* severity, const std::string& what);

  std::string path_;
  std::string filter_;  // "filter N "NAME": " or empty
  std::vector<std::string> messages_;
  int errors_ = 0;
};

// The expression readers of a policy file. Every reader returns 0 when it
// read the node (bad children skipped with a warning) and -1 for a null
// node or, for the time reader, a time object that does not exist.
class PolicyExpressionReader : public CConfigFilterBase {
 public:
  // `objects` and `diag` are not owned and must outlive the reader.
  PolicyExpressionReader(const PolicyObjects* objects, PolicyDiagnostics* diag)
      : objects_(objects), diag_(diag) {}

  // Attribute "Positive"; "KeyType" children: keyword type object ids.
  int ReadKey(TiXmlNode* node, KEY_FLT_EXPRESS& expr) override;
  // The library's address reader for the flag and the area, class and
  // device lists; "IPRange" / "ExceptIPRange" texts parsed here.
  int ReadIP(TiXmlNode* node, IPADDR_FLT_EXPRESS& expr) override;
  // The library's flag; "WString" texts kept, ASCII letters lower-cased.
  int ReadString(TiXmlNode* node, STRING_FLT_EXPRESS& expr) override;
  // Attribute "Positive"; "SizeRang" texts parsed (see GetValueSizeRange).
  int ReadSize(TiXmlNode* node, SIZE_FLT_EXPRESS& expr) override;
  // Attribute "Positive"; "Value" children: unsigned 32-bit values.
  int ReadInt(TiXmlNode* node, INT_FLT_EXPRESS& expr) override;
  // Attribute "Positive"; the text names a time object by id or by name.
  int ReadTimeRange(TiXmlNode* node, CTimeRange& range) override;

  // Attribute "Positive" and the `child` children as 64-bit values.
  int ReadIdList(TiXmlNode* node, const char* child, bool* positive,
                 std::vector<uint64_t>* ids);

  // Range and size texts, which the library's placeholders leave unread.
  // A range is "a.b.c.d-e.f.g.h" or one address. A size comparison is
  // "N" or "=N" (code 0), "!=N" (1), "<N" (2), "<=N" (3), ">N" (4),
  // ">=N" (5) or "N-M" (6, both ends included). False when the text does
  // not parse; the output is then unchanged.
  bool GetValueIPRange(const TiXmlNode* node, IP_RANGE_PAIR& range);
  bool GetValueSizeRange(const TiXmlNode* node, CMP_SIZE& size);

  // The CTimeRange value naming time object `id` (one bit, or all ones);
  // 0 for any other id.
  static uint32_t TimeValueOfId(uint64_t id);

 private:
  // Warns about the children of `node` that are neither in `known` nor
  // attributes.
  void WarnUnknownChildren(TiXmlNode* node, const char* const* known, int n);
  void CheckDepartments(TiXmlNode* node, const IPADDR_FLT_EXPRESS& expr);

  const PolicyObjects* objects_;
  PolicyDiagnostics* diag_;
};

// Reads the filter elements of a policy file into a PolicyFilterList. The
// identifiers it reports are the application ids the filters name, plus
// ALL_APP_TYPE when some filter applies to every application.
class PolicyFileReader : public CXMLProtoFltReadTool {
 public:
  // `objects` and `diag` are not owned and must outlive the reader.
  PolicyFileReader(const PolicyObjects* objects, PolicyDiagnostics* diag);

  // Reads every filter (through LoadFlt), then reports the identifiers.
  void CollectIds(std::vector<unsigned int>& ids) override;
  // Reads the filter elements whose "name" is in `names` (all of them when
  // `names` is empty) in document order. `flags` is not used (0).
  int LoadFlt(const std::vector<std::string>& names, uint64_t flags) override;
  // Reads filter element `node` as filter `index` and appends it.
  int ReadOneFlt(TiXmlNode& node, int index) override;
  // Reads the condition elements of a filter element into `express`,
  // which must be a PolicyFilter.
  int ReadOneFltExpress(COneFltExpress& express, TiXmlNode& node) override;
  // Reads the "Action" child of a filter element, one attribute at a time
  // through ReadAttrCol. 0 when read, -1 when there is none.
  int ReadFilterAttribute(CFilterActionContent& action,
                          TiXmlNode& node) override;
  // Reads attribute `name` of the "Action" element `node` into `action`:
  // 1 when read, 0 when its value is bad or the name unknown (warned).
  int ReadAttrCol(CFilterActionContent& action, const char* name,
                  TiXmlNode& node) override;

 private:
  void ReadCondition(PolicyFilter* filter, TiXmlNode* child, uint32_t* seen);
  void ReadApps(PolicyFilter* filter, TiXmlNode* child);
  void ReadIPObjects(PolicyFilter* filter, TiXmlNode* child);
  void ReadDepartments(PolicyFilter* filter, TiXmlNode* child);
  void ReadUrlTypes(PolicyFilter* filter, TiXmlNode* child);
  void ReadUrlKeys(PolicyFilter* filter, TiXmlNode* child);
  bool Require(const void* manager, int line, const char* what);

  const PolicyObjects* objects_;
  PolicyDiagnostics* diag_;
  PolicyExpressionReader reader_;
};

}  // namespace quarn_tool

#endif  // QUARN_TOOLS_POLICY_POLICYREADER_H_
