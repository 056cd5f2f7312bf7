#include "filter/CXMLProtoFltReadTool.h"

#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/TempDir.h"

namespace {

// A protocol module's filter, filter list and reader. The reader reports
// the ids of the "app" elements and reads each "filter" element through
// the hooks, as a module's reader would from its CollectIds.
class MailFilter : public COneFltExpress {
 public:
  CFilterActionContent* GetActionContent() override { return &action; }
  CFilterActionContent action;
};

class MailFilterList : public CProtoFltExpress {
 public:
  ~MailFilterList() override { Destroy(); }
  COneFltExpress* NewOneFltExpress() override { return new MailFilter(); }
  void DestroyOneFltExpress(COneFltExpress* e) override { delete e; }
};

class MailFilterReader : public CXMLProtoFltReadTool {
 public:
  void CollectIds(std::vector<unsigned int>& out) override {
    EXPECT_TRUE(out.empty());
    TiXmlNode* root = xml.GetRootNode();
    for (TiXmlNode* n = CTinyXmlEx::FirstChildElement(root, nullptr);
         n != nullptr; n = CTinyXmlEx::NextSiblingElement(n, nullptr)) {
      unsigned int id = 0;
      if (CTinyXmlEx::GetAttr(n, "app", id)) out.push_back(id);
      if (std::string(n->Value()) != "filter") continue;
      COneFltExpress* filter = express->NewOneFltExpress();
      CFilterActionContent& action = *filter->GetActionContent();
      hooks.push_back(ReadOneFlt(*n, 0));
      hooks.push_back(ReadOneFltExpress(*filter, *n));
      hooks.push_back(ReadAttrCol(action, "action", *n));
      hooks.push_back(ReadFilterAttribute(action, *n));
      hooks.push_back(ReadAttrColSubtypes(action, *n));
      hooks.push_back(LoadFlt({"a"}, 1));
      express->InsertOneFltExpress(filter);
    }
  }
  int ReadOneFltExpress(COneFltExpress& filter, TiXmlNode& node) override {
    return CTinyXmlEx::GetValue_HostOrderIPRangeVector(
               &node, filter.src.ip_ranges, "ip_range")
               ? 0
               : -1;
  }
  std::vector<int> hooks;
};

std::string Write(const std::string& dir, const char* name,
                  const std::string& body) {
  quarn_test::WriteFile(dir + "/" + name, "<mail>" + body + "</mail>");
  return dir + "/" + name;
}

TEST(ProtoFltReadTool, GathersIdsAcrossLoadsAndKeepsStateOnFailure) {
  std::string dir = quarn_test::MakeTempDir("proto_flt");
  std::string first = Write(dir, "first.xml",
                            "<a app=\"3\"/><a app=\"3\"/><filter app=\"7\">"
                            "<ip_range>10.0.0.1-10.0.0.9</ip_range></filter>");
  std::string none = Write(dir, "none.xml", "<filter/>");
  quarn_test::WriteFile(dir + "/broken.xml", "<mail><a");

  MailFilterList filters, other;
  MailFilterReader reader;
  EXPECT_EQ(0, reader.GetAppType());
  EXPECT_EQ(-1, reader.Load((dir + "/missing.xml").c_str(), filters));
  EXPECT_EQ(nullptr, reader.GetExpress());

  ASSERT_EQ(0, reader.Load(first.c_str(), filters));
  EXPECT_EQ((std::set<uint32_t>{3, 7}), reader.GetIds());
  ASSERT_EQ(1u, filters.list.size());
  EXPECT_EQ(1u, filters.list[0]->src.ip_ranges.size());
  // Hooks here read nothing: ReadAttrCol gives 1, the others 0.
  EXPECT_EQ((std::vector<int>{0, 0, 1, 0, 0, 0}), reader.hooks);

  // A file that does not open changes nothing; one that reports no ids
  // still loads on the ids of earlier loads, and retargets.
  EXPECT_EQ(-1, reader.Load((dir + "/broken.xml").c_str(), other));
  EXPECT_EQ(&filters, reader.GetExpress());
  EXPECT_EQ(0, reader.Load(none.c_str(), other));
  EXPECT_EQ(&other, reader.GetExpress());
  EXPECT_EQ(1u, other.list.size());
  MailFilterReader fresh;
  EXPECT_EQ(-1, fresh.Load(none.c_str(), filters));
  EXPECT_EQ(&filters, fresh.GetExpress());

  // Copies carry ids, target, type and their own copy of the document.
  reader.SetAppType(12);
  MailFilterReader* copy = new MailFilterReader(reader);
  MailFilterReader assigned;
  assigned = *copy;
  delete copy;
  EXPECT_EQ(reader.GetIds(), assigned.GetIds());
  EXPECT_EQ(12, assigned.GetAppType());
  std::vector<unsigned int> ids;
  assigned.CollectIds(ids);
  EXPECT_EQ(2u, other.list.size());  // read again from the copied document
}

}  // namespace
