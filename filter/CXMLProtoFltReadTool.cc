#include "filter/CXMLProtoFltReadTool.h"

CXMLProtoFltReadTool::CXMLProtoFltReadTool() : express(nullptr), app_type(0) {}

CXMLProtoFltReadTool::~CXMLProtoFltReadTool() {
  xml.close();
  ids.clear();
}

int CXMLProtoFltReadTool::Load(const char* path, CProtoFltExpress& out) {
  // Parsed aside first: a file that does not open must leave the document
  // of an earlier load in place.
  CConfigFilterBase opened;
  if (path == nullptr || opened.open_for_readonly(path) != 0) return -1;
  xml = opened;
  express = &out;
  std::vector<unsigned int> reported;
  CollectIds(reported);
  ids.insert(reported.begin(), reported.end());
  return ids.empty() ? -1 : 0;
}

int CXMLProtoFltReadTool::LoadFlt(const std::vector<std::string>& /*names*/,
                                  uint64_t /*flags*/) {
  return 0;
}

int CXMLProtoFltReadTool::ReadOneFlt(TiXmlNode& /*node*/, int /*index*/) {
  return 0;
}

int CXMLProtoFltReadTool::ReadAttrCol(CFilterActionContent& /*action*/,
                                      const char* /*name*/,
                                      TiXmlNode& /*node*/) {
  return 1;
}

int CXMLProtoFltReadTool::ReadFilterAttribute(CFilterActionContent& /*action*/,
                                              TiXmlNode& /*node*/) {
  return 0;
}

int CXMLProtoFltReadTool::ReadAttrColSubtypes(CFilterActionContent& /*action*/,
                                              TiXmlNode& /*node*/) {
  return 0;
}
