// Network environment settings: where the gateway sits in the company
// network and how it treats the hosts it learns.
//
// Has no file of its own: the company address plan (CLocalIPTypeTable)
// reads and writes it inside its "org_info" element, before "company".
// Embeds the layer-3 switch polling settings. No locks.

#ifndef QUARN_ADDRESS_CNETENVSETDATA_H_
#define QUARN_ADDRESS_CNETENVSETDATA_H_

#include "quarn_common/base/Export.h"

#include <stdint.h>

#include "quarn_common/address/CFetchIPMacInL3Switch_Config.h"
#include "quarn_common/base/CTinyXmlEx.h"

class QUARN_EXPORT CNetEnvSetData {
 public:
  // Defaults.
  static const int kDefaultNetEnvLayer = 1;
  static const int kDefaultDepType = 1;
  static const int kDefaultLearnHostType = 1;
  static const int kDefaultDeleteOldHost = 1;
  static const int kDefaultOverHour = 240;

  CNetEnvSetData();
  CNetEnvSetData(const CNetEnvSetData& other);
  CNetEnvSetData& operator=(const CNetEnvSetData& other);
  ~CNetEnvSetData();

  // Every member back to its default, the switch polling closed.
  void close();
  // Resets, then reads the settings held by `node` (an "org_info"
  // element); absent keys keep their defaults. Returns 1.
  int LoadFromFile(CTinyXmlEx& doc, TiXmlNode* node);
  // Writes every setting below `node`. Returns 1 (0 for a null node).
  int SaveToFile(CTinyXmlEx& doc, TiXmlNode* node) const;
  // 1 when every member, the switch polling included, is equal.
  int compare_config(const CNetEnvSetData& other) const;

  int GetNetEnvLayer() const { return netenv_layer; }
  void SetNetEnvLayer(int layer) { netenv_layer = layer; }
  // 1 when the gateway sits behind a layer-3 device.
  int IsLayer3() const { return netenv_layer != 0 ? 1 : 0; }
  // 1 when IP-to-MAC binding can be enforced: the gateway sees hosts at
  // layer 2, or it polls a layer-3 switch for their MACs.
  int IsEanbelIPMacBind() const;
  // How an address collision between two hosts is handled (the
  // "handle_collision_ip_type" key; 0 by default).
  int GetHandleCollisionIPType() const { return handle_collision_ip_type; }
  // 1 when hosts whose address is outside the company ranges may be
  // admitted to the employee store (the "admit_outside_host" key; 0, not
  // admitted, by default).
  int IsAdmitOutsideHost() const { return admit_outside_host != 0 ? 1 : 0; }

  int32_t netenv_layer;
  int32_t dep_type;
  CFetchIPMacInL3Switch_Config fetch_ipmac_inl3switch;
  int32_t forbit_except_addr;
  int32_t log_except_addr;
  int32_t handle_collision_ip_type;
  int32_t admit_outside_host;
  int32_t handle_netbios_pkt;
  int32_t learn_host_type;
  int32_t delete_old_host;
  int32_t over_hour;
};

#endif  // QUARN_ADDRESS_CNETENVSETDATA_H_
