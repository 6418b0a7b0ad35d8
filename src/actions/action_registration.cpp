// Registers the file action classes in the element registry.
#include "actions/action_registration.h"

#include "actions/copy_action.h"
#include "actions/delete_action.h"
#include "actions/link_action.h"
#include "actions/move_action.h"
#include "actions/rename_action.h"
#include "actions/script_action.h"

namespace lmk {

void RegisterActions(CElementRegistry& registry) {
  constexpr ElementFamily kFamily = ElementFamily::Action;
  registry.Register<CCopyAction>(kFamily, L"Copy");
  registry.Register<CDeleteAction>(kFamily, L"Delete");
  registry.Register<CLinkAction>(kFamily, L"Link");
  registry.Register<CMoveAction>(kFamily, L"Move");
  registry.Register<CRenameAction>(kFamily, L"Rename");
  registry.Register<CScriptAction>(kFamily, L"Script");
}

}  // namespace lmk
