// A host as small as it gets: start the library, ask the protocol tree,
// stop. Exits non-zero when the installed copy does not work.
#include <quarn_common.h>

#include <stdio.h>

int main() {
  quarn_common_init(0, 0);
  const CAppSubtypeReader::tagPROTO_TREE_ITEM* mail =
      CAppSubtypeReader::FindItemByAppid(CAppSubtypeReader::APP_EX_MAIL);
  uint32_t group =
      CAppSubtypeReader::GetExtGrpAppType(CAppSubtypeReader::APP_EX_SMTP);
  quarn_common_fini();
  if (mail == nullptr || group != CAppSubtypeReader::APP_EX_MAIL) {
    fprintf(stderr, "installed library did not load its protocol tree\n");
    return 1;
  }
  return 0;
}
