// Every built-in display text of the library, in one place. The library
// keeps text as GBK bytes; each entry's UTF-8 meaning is in the comment
// beside it. Components refer to these by name, never by spelling the bytes
// again.

#ifndef QUARN_BASE_INTERNAL_BUILTINTEXTS_H_
#define QUARN_BASE_INTERNAL_BUILTINTEXTS_H_

namespace quarn_texts {

// ---- Protocol tree fallbacks -----------------------------------------------
// "系统暂未判定" (not yet decided by the system)
constexpr char kAppNotJudged[] =
    "\xcf\xb5\xcd\xb3\xd4\xdd\xce\xb4\xc5\xd0\xb6\xa8";
// "已删除自定义应用" (deleted user-defined application)
constexpr char kAppDeletedUserDef[] =
    "\xd2\xd1\xc9\xbe\xb3\xfd\xd7\xd4\xb6\xa8\xd2\xe5\xd3\xa6\xd3\xc3";
// "系统未定义应用" (application not defined by the system)
constexpr char kAppUndefined[] =
    "\xcf\xb5\xcd\xb3\xce\xb4\xb6\xa8\xd2\xe5\xd3\xa6\xd3\xc3";
// "所有应用" (all applications)
constexpr char kAppAll[] = "\xcb\xf9\xd3\xd0\xd3\xa6\xd3\xc3";

// ---- Company address plan ---------------------------------------------------
// "公司内网-内部" (company intranet, internal)
constexpr char kIntranetName[] =
    "\xB9\xAB\xCB\xBE\xC4\xDA\xCD\xF8\x2D\xC4\xDA\xB2\xBF";
// "内部未归类" (internal, unclassified)
constexpr char kUnclassifiedName[] = "\xC4\xDA\xB2\xBF\xCE\xB4\xB9\xE9\xC0\xE0";
// "公司内网-内部服务器" (company intranet, internal servers)
constexpr char kServerName[] =
    "\xB9\xAB\xCB\xBE\xC4\xDA\xCD\xF8\x2D\xC4\xDA\xB2\xBF\xB7\xFE\xCE\xF1\xC6"
    "\xF7";
// "公司外网-DMZ" (company external network, DMZ)
constexpr char kDmzName[] = "\xB9\xAB\xCB\xBE\xCD\xE2\xCD\xF8\x2D\x44\x4D\x5A";
// "异常内网地址" (abnormal intranet address)
constexpr char kAbnormalIntranetName[] =
    "\xD2\xEC\xB3\xA3\xC4\xDA\xCD\xF8\xB5\xD8\xD6\xB7";
// "异常外网地址" (abnormal external address)
constexpr char kAbnormalExternalName[] =
    "\xD2\xEC\xB3\xA3\xCD\xE2\xCD\xF8\xB5\xD8\xD6\xB7";
// "未知部门" (unknown department)
constexpr char kUnknownDepName[] = "\xCE\xB4\xD6\xAA\xB2\xBF\xC3\xC5";

// ---- Internet areas ---------------------------------------------------------
// "内网" (intranet)
constexpr char kAreaIntranetName[] = "\xC4\xDA\xCD\xF8";
// "国内" (domestic)
constexpr char kAreaDomesticName[] = "\xB9\xFA\xC4\xDA";
// "国外" (foreign)
constexpr char kAreaForeignName[] = "\xB9\xFA\xCD\xE2";

// ---- IP objects -------------------------------------------------------------
// "超级白名单" (super whitelist)
constexpr char kIPObjSuperName[] = "\xB3\xAC\xBC\xB6\xB0\xD7\xC3\xFB\xB5\xA5";
// "行为管理白名单" (behaviour-management whitelist)
constexpr char kIPObjACName[] =
    "\xD0\xD0\xCE\xAA\xB9\xDC\xC0\xED\xB0\xD7\xC3\xFB\xB5\xA5";
// "上网黑名单" (internet blacklist)
constexpr char kIPObjFireWallName[] =
    "\xC9\xCF\xCD\xF8\xBA\xDA\xC3\xFB\xB5\xA5";
// "禁止任何方式上网" (no internet access of any kind)
constexpr char kIPObjFireWallDesc[] =
    "\xBD\xFB\xD6\xB9\xC8\xCE\xBA\xCE\xB7\xBD\xCA\xBD\xC9\xCF\xCD\xF8";

// ---- Time objects -----------------------------------------------------------
// "所有时间" (all time)
constexpr char kTimeObjAllName[] = "\xCB\xF9\xD3\xD0\xCA\xB1\xBC\xE4";
// "工作时间" (working time)
constexpr char kTimeObjWorkingName[] = "\xB9\xA4\xD7\xF7\xCA\xB1\xBC\xE4";
// "非工作时间" (non-working time)
constexpr char kTimeObjOffdutyName[] =
    "\xB7\xC7\xB9\xA4\xD7\xF7\xCA\xB1\xBC\xE4";
// "该时间对象被删除" (this time object has been deleted)
constexpr char kTimeObjDeletedName[] =
    "\xB8\xC3\xCA\xB1\xBC\xE4\xB6\xD4\xCF\xF3\xB1\xBB\xC9\xBE\xB3\xFD";

// ---- URL categories ---------------------------------------------------------
// "排除" (excepted)
constexpr char kURLExceptListName[] = "\xC5\xC5\xB3\xFD";
// "简化配置使用的URL" (URLs of the simplified configuration)
constexpr char kURLSimpleACLListName[] =
    "\xBC\xF2\xBB\xAF\xC5\xE4\xD6\xC3\xCA\xB9\xD3\xC3\xB5\xC4URL";
// "用户自定义URL" (user-defined URL)
constexpr char kURLUserDefinedName[] =
    "\xD3\xC3\xBB\xA7\xD7\xD4\xB6\xA8\xD2\xE5URL";

}  // namespace quarn_texts

#endif  // QUARN_BASE_INTERNAL_BUILTINTEXTS_H_
