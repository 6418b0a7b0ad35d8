// Registers the file action classes in the element registry.
#include "actions/action_registration.h"

#include "actions/convert_action.h"
#include "actions/copy_action.h"
#include "actions/delete_action.h"
#include "actions/file_date_action.h"
#include "actions/ftp_action.h"
#include "actions/label_action.h"
#include "actions/link_action.h"
#include "actions/move_action.h"
#include "actions/rating_action.h"
#include "actions/rename_action.h"
#include "actions/save_for_web_action.h"
#include "actions/script_action.h"
#include "actions/urgency_action.h"

namespace lmk {

void RegisterActions(CElementRegistry& registry) {
  constexpr ElementFamily kFamily = ElementFamily::Action;
  registry.Register<CConvertAction>(kFamily, L"Convert");
  registry.Register<CCopyAction>(kFamily, L"Copy");
  registry.Register<CDeleteAction>(kFamily, L"Delete");
  registry.Register<CFTPAction>(kFamily, L"FTPUpload");
  registry.Register<CLinkAction>(kFamily, L"Link");
  registry.Register<CMoveAction>(kFamily, L"Move");
  registry.Register<CRenameAction>(kFamily, L"Rename");
  registry.Register<CSaveForWebAction>(kFamily, L"SaveForWeb");
  registry.Register<CFileDateAction>(kFamily, L"FileDateTime");
  registry.Register<CLabelAction>(kFamily, L"SetXMPLabel");
  registry.Register<CRatingAction>(kFamily, L"SetXMPRating");
  registry.Register<CUrgencyAction>(kFamily, L"SetPhotoshopUrgency");
  registry.Register<CScriptAction>(kFamily, L"Script");
}

}  // namespace lmk
