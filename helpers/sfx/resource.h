#pragma once

#define IDD_SFX 100
#define IDC_INTRO 1001
#define IDC_FOLDER 1002
#define IDC_BROWSE 1003
#define IDC_STATUS 1004
#define IDC_FOLDER_LABEL 1005
