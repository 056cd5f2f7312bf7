// Built-in display names of the company address plan, GBK bytes.

#ifndef QUARN_ADDRESS_ORGNAMES_INTERNAL_H_
#define QUARN_ADDRESS_ORGNAMES_INTERNAL_H_

namespace quarn_org {

// 公司内网-内部 (company intranet, internal)
constexpr char kIntranetName[] =
    "\xB9\xAB\xCB\xBE\xC4\xDA\xCD\xF8\x2D\xC4\xDA\xB2\xBF";
// 内部未归类 (internal, unclassified)
constexpr char kUnclassifiedName[] = "\xC4\xDA\xB2\xBF\xCE\xB4\xB9\xE9\xC0\xE0";
// 公司内网-内部服务器 (company intranet, internal servers)
constexpr char kServerName[] =
    "\xB9\xAB\xCB\xBE\xC4\xDA\xCD\xF8\x2D\xC4\xDA\xB2\xBF\xB7\xFE\xCE\xF1\xC6"
    "\xF7";
// 公司外网-DMZ (company external network, DMZ)
constexpr char kDmzName[] = "\xB9\xAB\xCB\xBE\xCD\xE2\xCD\xF8\x2D\x44\x4D\x5A";
// 异常内网地址 (abnormal intranet address)
constexpr char kAbnormalIntranetName[] =
    "\xD2\xEC\xB3\xA3\xC4\xDA\xCD\xF8\xB5\xD8\xD6\xB7";
// 异常外网地址 (abnormal external address)
constexpr char kAbnormalExternalName[] =
    "\xD2\xEC\xB3\xA3\xCD\xE2\xCD\xF8\xB5\xD8\xD6\xB7";
// 未知部门 (unknown department)
constexpr char kUnknownDepName[] = "\xCE\xB4\xD6\xAA\xB2\xBF\xC3\xC5";

}  // namespace quarn_org

#endif  // QUARN_ADDRESS_ORGNAMES_INTERNAL_H_
