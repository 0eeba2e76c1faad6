// Ids of the progress dialog's template (progress_dialog.rc). The library's
// code uses the same numbers (src/process/ui_backend.h).

#ifndef KEL_RESOURCES_PROGRESS_DIALOG_H
#define KEL_RESOURCES_PROGRESS_DIALOG_H

#define IDD_PROGRESS_DIALOG 101
#define IDC_PROGRESS_BAR 1001
#define IDC_PROGRESS_TITLE 1002
#define IDC_PROGRESS_PERCENT 1003

#endif  // KEL_RESOURCES_PROGRESS_DIALOG_H
