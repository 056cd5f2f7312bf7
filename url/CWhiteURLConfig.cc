#include "url/CWhiteURLConfig.h"

CWhiteURLConfig::CWhiteURLConfig() {}

CWhiteURLConfig::CWhiteURLConfig(const CWhiteURLConfig& other)
    : CBaseXMLConfig(other), m_items(other.m_items) {}

CWhiteURLConfig& CWhiteURLConfig::operator=(const CWhiteURLConfig& other) {
  if (this != &other) {
    CBaseXMLConfig::operator=(other);
    m_items = other.m_items;
  }
  return *this;
}

CWhiteURLConfig::~CWhiteURLConfig() {}

bool CWhiteURLConfig::operator==(const CWhiteURLConfig& other) const {
  return m_items == other.m_items;
}

void CWhiteURLConfig::close() { m_items.clear(); }

int CWhiteURLConfig::IsWhiteHost(const char* text, uint64_t length) const {
  return CURLTypeConfig::FindURL(text, length, m_items);
}

int CWhiteURLConfig::LoadConfig(CTinyXmlEx& doc) {
  close();
  TiXmlNode* list =
      CTinyXmlEx::FirstChildElement(doc.GetRootNode(), "white_url");
  if (list != nullptr) {
    CURLTypeConfig::ReadURLNameAndMathType_S(doc, list, m_items);
  }
  return 1;
}

int CWhiteURLConfig::SaveConfig(CTinyXmlEx& doc) {
  TiXmlNode* root = doc.InsertRootElement("white_url");
  if (root == nullptr) root = doc.GetOrCreateRootElement("white_url");
  TiXmlNode* list = CTinyXmlEx::InsertEndChildElement(root, "white_url");
  CURLTypeConfig::WriteURLNameAndMathType_S(doc, list, m_items);
  return 1;
}

template class ACE_Singleton<CWhiteURLConfig, ACE_Null_Mutex>;
