// The process-wide tree of application ids, read from "pat/proto_tree.xml"
// in the module directory, and the app-id numbering itself.
//
// An id reads as two four-digit decimal halves: id / 10000 names the group
// and id % 10000 the subtype within it (0 for the group itself). The tree is
// the root 10000000, the groups below it and their subtypes.
//
// Every member is static: there is one tree per process. No operation takes
// a lock by itself; a caller that may run beside AddUserDefApp(),
// DeleteAllUserDefApp() or a reload brackets its lookups with Lock() and
// UnLock(). Item pointers handed out stay valid until CloseAppTypeTree(), or
// for user-defined items until DeleteAllUserDefApp().

#ifndef QUARN_APPID_CAPPSUBTYPEREADER_H_
#define QUARN_APPID_CAPPSUBTYPEREADER_H_

#include "quarn_common/base/Export.h"

#include <stdint.h>

#include <string>
#include <vector>

#include <ace/Recursive_Thread_Mutex.h>

#include "quarn_common/appid/CTHashFinderEx.h"
#include "quarn_common/base/CTinyXmlEx.h"

// Version record of a reference database: the "current" and "time"
// attributes of its "version_info" element.
struct __ST_DB_VERSION_TMP__ {
  std::string current;
  std::string time;
};

class QUARN_EXPORT CAppSubtypeReader {
 public:
  // One application of the tree. Owned by the tree.
  struct tagPROTO_TREE_ITEM {
    uint32_t appid;
    int32_t visible;
    char name[32];               // the element's tag name, at most 31 bytes
    char disp[64];               // display name (GBK), at most 63 bytes
    tagPROTO_TREE_ITEM* parent;  // null for a top-level item
    std::vector<tagPROTO_TREE_ITEM*> children;  // in file order
  };

  // Hash and comparison of the app-id index.
  struct HashCompFun {
    // (id / 10000) - 1000 + (id % 10000) * 256, in wrapping 32-bit
    // arithmetic; the index keeps the low 14 bits.
    static uint32_t Hash(const uint32_t& id) {
      return id / 10000u - 1000u + (id % 10000u) * 256u;
    }
    static bool Equal(const tagPROTO_TREE_ITEM* item, const uint32_t& id) {
      return item->appid == id;
    }
  };
  typedef CTHashFinderEx<uint32_t, tagPROTO_TREE_ITEM, HashCompFun, 1000, 16384>
      AppIdIndex;

  // ---- The numbering -----------------------------------------------------
  static const unsigned int APP_EXTERN_NOT_JUDGE = 100;
  static const unsigned int APP_EXTERN = 10000000;
  static const unsigned int APP_INTERN = 20000000;
  static const unsigned int APP_EX_USERD = 19000000;
  static const unsigned int APP_IN_USERD = 29000000;
  static const unsigned int ALL_APP_TYPE = 4294967295u;

  static const unsigned int APP_EX_WEB = 10010000;
  static const unsigned int APP_EX_MAIL = 10020000;
  static const unsigned int APP_EX_SMTP = 10020001;
  static const unsigned int APP_EX_POP3 = 10020002;
  static const unsigned int APP_EX_IMAP = 10020003;
  static const unsigned int APP_EX_WEB_MAIL = 10020007;
  static const unsigned int APP_EX_FILE_TRANS = 10030000;
  static const unsigned int APP_EX_FILE_TRANS_FTP = 10030001;
  static const unsigned int APP_EX_FILE_TRANS_HTTP = 10030002;
  static const unsigned int APP_EX_FILE_TRANS_MULTI_FTP = 10030003;
  static const unsigned int APP_EX_FILE_TRANS_MULTI_HTTP = 10030004;
  static const unsigned int APP_EX_FILE_TRANS_QQ_SHARE_FILE = 10030005;
  static const unsigned int APP_EX_FILE_TRANS_PSEUDO_HTTP = 10030006;
  static const unsigned int APP_EX_FILE_TRANS_PSEUDO_HTTPS = 10030007;
  static const unsigned int APP_EX_P2P = 10070000;
  static const unsigned int APP_EX_CRY_P2P = 10070014;
  static const unsigned int APP_EX_IM = 10080000;
  static const unsigned int APP_EX_IM_MSN = 10080001;
  static const unsigned int APP_EX_IM_QQ = 10080002;
  static const unsigned int APP_EX_IM_FETION = 10080003;
  static const unsigned int APP_EX_IM_YMSG = 10080005;
  static const unsigned int APP_EX_IM_QQ_TM = 10080018;
  static const unsigned int APP_EX_IM_MSN_FILE = 10080501;
  static const unsigned int APP_EX_IM_QQ_FILE = 10080502;
  static const unsigned int APP_EX_IM_FETION_FILE = 10080503;
  static const unsigned int APP_EX_IM_YMSG_FILE = 10080505;
  static const unsigned int APP_EX_GAME = 10090000;
  static const unsigned int APP_EX_STOCK = 10100000;
  static const unsigned int APP_EX_VOIP = 10110000;
  static const unsigned int APP_EX_NETVIDEO = 10120000;
  static const unsigned int APP_EX_WEB_VIDEO = 10120019;
  static const unsigned int APP_EX_WEB_AUDIO = 10120024;
  static const unsigned int APP_EX_VPN = 10130000;
  static const unsigned int APP_EX_VPN_PPTP = 10130001;
  static const unsigned int APP_EX_VPN_L2TP = 10130002;
  static const unsigned int APP_EX_VPN_GRE = 10130003;
  static const unsigned int APP_EX_VPN_IPSEC = 10130004;
  static const unsigned int APP_EX_UK_DATA = 19010000;
  static const unsigned int APP_EX_UK_DATA_TCP = 19010001;
  static const unsigned int APP_EX_UK_DATA_UDP = 19010002;
  static const unsigned int APP_EX_UK_SERVICE = 19020000;
  static const unsigned int APP_EX_UK_SERVICE_TCP = 19020001;
  static const unsigned int APP_EX_UK_SERVICE_UDP = 19020002;
  static const unsigned int APP_EX_UJ_DATA = 19030000;
  static const unsigned int APP_EX_UJ_DATA_TCP = 19030001;
  static const unsigned int APP_EX_UJ_DATA_UDP = 19030002;
  static const unsigned int APP_EX_UJ_SERVICE = 19040000;
  static const unsigned int APP_EX_UJ_SERVICE_TCP = 19040001;
  static const unsigned int APP_EX_UJ_SERVICE_UDP = 19040002;
  static const unsigned int APP_EX_NOT_IP_GRP = 19050000;
  static const unsigned int APP_EX_MAC_ARP = 19050001;
  static const unsigned int APP_EX_MAC_NETBIOS = 19050002;
  static const unsigned int APP_EX_MAC_BPDU = 19050003;
  static const unsigned int APP_EX_MAC_DNA = 19050004;
  static const unsigned int APP_EX_MAC_PPPOE = 19050005;
  static const unsigned int APP_EX_OTHER_NOT_IP = 19050010;
  static const unsigned int APP_EX_DB = 19070000;
  static const unsigned int APP_EX_DB_ORACLE = 19070001;
  static const unsigned int APP_EX_DB_SYBASE = 19070002;
  static const unsigned int APP_EX_DB_SQLSERVER = 19070003;
  static const unsigned int APP_EX_DB_MYSQL = 19070004;
  static const unsigned int APP_EX_DB_INFORMIX = 19070005;
  static const unsigned int APP_EX_DB_DB2 = 19070006;
  static const unsigned int APP_EX_DB_POSTGRESQL = 19070007;
  static const unsigned int APP_EX_DB_ACCESS = 19070008;
  static const unsigned int APP_EX_NOT_TCPUDP_DATA = 19080000;
  static const unsigned int APP_EX_NOT_IP_OLD = 19080001;
  static const unsigned int APP_EX_IP_ERROR = 19080002;
  static const unsigned int APP_EX_ICMP = 19080003;
  static const unsigned int APP_EX_OTHER_TRANS = 19080004;
  static const unsigned int APP_EX_OTHER_COMMON_DATA = 19090000;
  static const unsigned int APP_EX_DNS = 19090001;
  static const unsigned int APP_EX_TELNET = 19090002;
  static const unsigned int APP_EX_HTTPS = 19090014;
  static const unsigned int APP_EX_REMOTE_CTRL = 19100000;
  static const unsigned int APP_EX_MOBILE_APP = 19110000;
  static const unsigned int APP_EX_MOBIEL_WECHAT = 19110001;
  static const unsigned int APP_EX_MOBIEL_QQ = 19110002;
  static const unsigned int APP_EX_MOBIEL_SINA_WEIBO = 19110003;
  static const unsigned int APP_EX_MOBIEL_MOMO = 19110004;
  static const unsigned int APP_EX_MOBIEL_TAOBAO = 19110005;
  static const unsigned int APP_EX_MOBIEL_YUJIAN = 19110006;
  static const unsigned int APP_EX_MOBIEL_ALIPAY = 19110007;
  static const unsigned int APP_EX_OVER_MALL = 19120000;
  static const unsigned int APP_IN_WEB = 20010000;
  static const unsigned int APP_IN_MAIL = 20020000;
  static const unsigned int APP_IN_SMTP = 20020001;
  static const unsigned int APP_IN_POP3 = 20020002;
  static const unsigned int APP_IN_FTP = 20030000;
  static const unsigned int APP_IN_SMB = 20040000;
  static const unsigned int APP_IN_TELNET = 20050000;
  static const unsigned int APP_IN_RCTRL = 20060000;
  static const unsigned int APP_IN_DB = 20110000;
  static const unsigned int APP_IN_DB_ORACLE = 20110001;
  static const unsigned int APP_IN_DB_SYBASE = 20110002;
  static const unsigned int APP_IN_DB_SQLSERVER = 20110003;
  static const unsigned int APP_IN_DB_MYSQL = 20110004;
  static const unsigned int APP_IN_DB_INFORMIX = 20110005;
  static const unsigned int APP_IN_DB_DB2 = 20110006;
  static const unsigned int APP_IN_DB_POSTGRESQL = 20110007;
  static const unsigned int APP_IN_DB_ACCESS = 20110008;
  static const unsigned int APP_IN_DHCP = 20130000;
  static const unsigned int APP_IN_DNS = 20140000;
  static const unsigned int APP_IN_VOIP = 20150000;
  static const unsigned int APP_IN_UK_DATA = 29010000;
  static const unsigned int APP_IN_UK_DATA_TCP = 29010001;
  static const unsigned int APP_IN_UK_DATA_UDP = 29010002;
  static const unsigned int APP_IN_UK_SERVICE = 29020000;
  static const unsigned int APP_IN_UK_SERVICE_TCP = 29020001;
  static const unsigned int APP_IN_UK_SERVICE_UDP = 29020002;
  static const unsigned int APP_IN_UJ_DATA = 29030000;
  static const unsigned int APP_IN_UJ_DATA_TCP = 29030001;
  static const unsigned int APP_IN_UJ_DATA_UDP = 29030002;
  static const unsigned int APP_IN_UJ_SERVICE = 29040000;
  static const unsigned int APP_IN_UJ_SERVICE_TCP = 29040001;
  static const unsigned int APP_IN_UJ_SERVICE_UDP = 29040002;

  CAppSubtypeReader() {}
  ~CAppSubtypeReader() {}

  // ---- Reading and releasing the tree ------------------------------------

  // Replaces the tree with the one in "pat/proto_tree.xml" of the module
  // directory. Returns 1 when the file opened and has a root element, else
  // 0 (the tree is then empty, and lookups answer with fallbacks).
  static int ReadAppTypeTree();
  // Releases the index and every item; lookups then fail. The version
  // record keeps its last value.
  static void CloseAppTypeTree();
  // Reads the "version_info" element below the root of the XML file at
  // `path` into `version`. True when the element is there.
  static bool ReadVersionInfo(const char* path, __ST_DB_VERSION_TMP__& version);
  // The version record of the tree last read.
  static const __ST_DB_VERSION_TMP__& GetVersion() { return ms_version; }

  // ---- Lookups ------------------------------------------------------------

  // The item with id `appid`, or null. The hot path: no allocation.
  static const tagPROTO_TREE_ITEM* FindItemByAppid(uint32_t appid);
  // The first group or subtype (root's children, then each one's children,
  // in order) whose name equals `name`, ASCII case folded; null when none.
  static const tagPROTO_TREE_ITEM* FindItemByAppName(const char* name);
  // The id of FindItemByAppName(name), or 0.
  static uint32_t FindAppIdByAppName(const char* name);
  // As FindItemByAppName, by display name.
  static const tagPROTO_TREE_ITEM* FindItemByAppDesc(const char* disp);
  // The item's display name, or a fallback text for ids the tree does not
  // hold (not yet decided, deleted user-defined, not defined). Never null;
  // valid as long as the item, or for ever for a fallback.
  static const char* FindDispNameByAppid(uint32_t appid);
  // Display names of `ids` joined by ","; an empty list gives "all
  // applications" when `flag` is non-zero, else the empty text.
  static std::string ShowAppName(const std::vector<uint32_t>& ids, int flag);

  // ---- Predicates on the numbering ----------------------------------------
  static int IsAppGrpType(uint32_t appid);
  // A group that may have subtypes: every group but web and VoIP.
  static int HasChildAppType(uint32_t appid);
  static int IsExtAppSubType(uint32_t appid);
  static int IsExUkSubAppType(uint32_t appid);
  static int IsExUkGrpAppType(uint32_t appid);
  static int IsUserDefSubApp(uint32_t appid);

  // The group above a subtype; 0 for a group, for a top-level item or an
  // unknown id, except that any id from 19000001 to 19009999 belongs to
  // 19000000.
  static uint32_t GetExtGrpAppType(uint32_t appid);
  // The number of subtypes of `group`, appended in order to `*list` (which
  // is emptied first) when given. 0 without touching the list when `group`
  // is not a group id.
  static uint64_t GetSubAppType(uint32_t group,
                                std::vector<uint32_t>* list = nullptr);
  // Replaces `list` with the ids of the groups under the root.
  static void GetAllExtGrpAppType(std::vector<uint32_t>& list);

  // ---- Administrator-defined applications ---------------------------------

  // Files a new application under 19000000. Returns 0 when that group is
  // not in the tree, when the id, name or display name is taken, or when
  // the name is longer than 31 or the display name longer than 63 bytes.
  static int AddUserDefApp(const char* name, const char* disp, uint32_t appid,
                           int visible);
  // Removes every application filed under 19000000; the group stays.
  static void DeleteAllUserDefApp();

  // The recursive mutex a caller holds to keep the tree still.
  static void Lock();
  static void UnLock();

 private:
  QUARN_HIDDEN static const tagPROTO_TREE_ITEM* Inner_FindItemByAppid(
      uint32_t appid);
  QUARN_HIDDEN static tagPROTO_TREE_ITEM* InsertItem(
      const char* name, const char* disp, uint32_t appid, int visible,
      tagPROTO_TREE_ITEM* parent);
  QUARN_HIDDEN static void ReadTreeInfo(CTinyXmlEx& doc, TiXmlNode* node,
                                        tagPROTO_TREE_ITEM* parent);
  QUARN_HIDDEN static const tagPROTO_TREE_ITEM* FindInTwoLevels(const char* key,
                                                                bool by_disp);
  // Removes every index entry of `item` and the items below it, so that
  // none is found by id once DeleteSubtree() has released them.
  QUARN_HIDDEN static void UnindexSubtree(const tagPROTO_TREE_ITEM* item);
  static void DeleteSubtree(tagPROTO_TREE_ITEM* item);

  static tagPROTO_TREE_ITEM* ms_root_item;
  static AppIdIndex ms_hash_finder;
  static __ST_DB_VERSION_TMP__ ms_version;
  static ACE_Recursive_Thread_Mutex m_tm;
  // Items created without a parent (the root, and children of rejected
  // elements); with their subtrees they are everything the tree owns.
  static std::vector<tagPROTO_TREE_ITEM*> ms_top_items;
};

#endif  // QUARN_APPID_CAPPSUBTYPEREADER_H_
