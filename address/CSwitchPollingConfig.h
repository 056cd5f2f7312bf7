// What the two switch polling configurations share: an on/off switch, a
// reply time-out, a polling interval and a list of switches to ask, read
// from and written to one element (attribute "enable", keyed children
// "time_out" and "schedule_time", one "one_item" child per switch).
//
// `Derived` supplies its item type `tagONE_ITEM`, the constants kRootName,
// kDefaultTimeOut and kDefaultScheduleTime, and the static LoadOneItem and
// SaveOneItem that read and write one item's keys. No locks; hosts
// serialise loads against readers.

#ifndef QUARN_ADDRESS_CSWITCHPOLLINGCONFIG_H_
#define QUARN_ADDRESS_CSWITCHPOLLINGCONFIG_H_

#include <stdint.h>

#include <vector>

#include "quarn_common/base/CBaseXMLConfig.h"
#include "quarn_common/base/CTinyXmlEx.h"

template <typename Derived, typename Item>
class CSwitchPollingConfig : public CBaseXMLConfig {
 public:
  // time_out, schedule_time and enable back to their defaults, no items.
  void close() override {
    time_out = Derived::kDefaultTimeOut;
    schedule_time = Derived::kDefaultScheduleTime;
    enable = 0;
    items.clear();
  }

  // Reads the attribute "enable", the keys "time_out" and "schedule_time"
  // and the "one_item" children of `node`; absent settings keep their
  // values and items are appended to those held. Returns 1.
  int LoadConfig(CTinyXmlEx& /*doc*/, TiXmlNode* node) {
    if (node == nullptr) return 1;
    CTinyXmlEx::GetAttr(node, "enable", enable);
    CTinyXmlEx::GetValueLikeIni(node, "time_out", &time_out);
    CTinyXmlEx::GetValueLikeIni(node, "schedule_time", &schedule_time);
    for (TiXmlNode* child = CTinyXmlEx::FirstChildElement(node, "one_item");
         child != nullptr;
         child = CTinyXmlEx::NextSiblingElement(child, "one_item")) {
      Item item;
      Derived::LoadOneItem(child, &item);
      items.push_back(item);
    }
    return 1;
  }

  // Writes every setting and item below `node`. Returns 1 (0 for a null
  // node).
  int SaveConfig(CTinyXmlEx& /*doc*/, TiXmlNode* node) const {
    if (node == nullptr) return 0;
    CTinyXmlEx::SetAttr(node, "enable", static_cast<int>(enable));
    CTinyXmlEx::SetValueLikeIni(node, "time_out", static_cast<int>(time_out));
    CTinyXmlEx::SetValueLikeIni(node, "schedule_time",
                                static_cast<int>(schedule_time));
    for (const Item& item : items) {
      TiXmlNode* child = CTinyXmlEx::InsertEndChildElement(node, "one_item");
      if (child == nullptr) return 0;
      Derived::SaveOneItem(child, item);
    }
    return 1;
  }

  bool operator==(const CSwitchPollingConfig& other) const {
    return enable == other.enable && time_out == other.time_out &&
           schedule_time == other.schedule_time && items == other.items;
  }
  bool operator!=(const CSwitchPollingConfig& other) const {
    return !(*this == other);
  }

  int32_t time_out = Derived::kDefaultTimeOut;
  int32_t schedule_time = Derived::kDefaultScheduleTime;
  int32_t enable = 0;
  std::vector<Item> items;

 private:
  // Replaces what is held by the document's root element; 0 without one.
  // A whole document replaces rather than appends, so a reload does not
  // repeat the items.
  int LoadConfig(CTinyXmlEx& doc) override {
    TiXmlNode* root = doc.GetRootNode();
    if (root == nullptr) return 0;
    close();
    return LoadConfig(doc, root);
  }
  int SaveConfig(CTinyXmlEx& doc) override {
    return SaveConfig(doc, doc.InsertRootElement(Derived::kRootName));
  }
};

#endif  // QUARN_ADDRESS_CSWITCHPOLLINGCONFIG_H_
