; The Vantrel installer: per machine under Program Files, a Start-menu entry and an
; uninstaller; /S installs and uninstalls without questions.
;   makensis -DVERSION=6.5.0 -DSRCDIR=<folder of vantrel.exe and its data> -DOUTFILE=<setup.exe> [-DWIN64]
!ifdef WIN64
  ; The 64-bit package exists for machines that run only 64-bit programs (the tests' Wine).
  Target amd64-unicode
!else
  ; ANSI, so that the installer itself runs on Windows 98 as the program does.
  Unicode false
!endif

!ifndef VERSION
  !error "VERSION is not defined"
!endif
!ifndef SRCDIR
  !error "SRCDIR is not defined"
!endif
!ifndef OUTFILE
  !define OUTFILE "vantrel-setup.exe"
!endif

!define PRODUCT "Vantrel"
!define UNINSTALL_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\Vantrel"

Name "${PRODUCT} ${VERSION}"
Caption "${PRODUCT} ${VERSION} Setup"
OutFile "${OUTFILE}"
RequestExecutionLevel admin
SetCompressor /SOLID lzma
ManifestSupportedOS all
!ifdef WIN64
  ; A 64-bit build of the same package, for test machines that run only 64-bit programs.
  InstallDir "$PROGRAMFILES64\${PRODUCT}"
!else
  InstallDir "$PROGRAMFILES\${PRODUCT}"
!endif
InstallDirRegKey HKLM "${UNINSTALL_KEY}" "InstallLocation"
ShowInstDetails show
ShowUninstDetails show

VIProductVersion "${VERSION}.0"
VIAddVersionKey "ProductName" "${PRODUCT}"
VIAddVersionKey "ProductVersion" "${VERSION}"
VIAddVersionKey "FileVersion" "${VERSION}"
VIAddVersionKey "FileDescription" "${PRODUCT} Setup"
VIAddVersionKey "LegalCopyright" "Copyright (C) The Vantrel developers"

Page directory
Page instfiles
UninstPage uninstConfirm
UninstPage instfiles

Function .onInit
!ifdef WIN64
  SetRegView 64
!endif
FunctionEnd

Function un.onInit
!ifdef WIN64
  SetRegView 64
!endif
FunctionEnd

Section "Vantrel"
  SetShellVarContext all
  SetOutPath "$INSTDIR"
  File "${SRCDIR}/vantrel.exe"
  File "${SRCDIR}/sortascending.ico"
  File "${SRCDIR}/sortdescending.ico"
  File "${SRCDIR}/help.chm"
  File "${SRCDIR}/DutchHelp.chm"
!if /FileExists "${SRCDIR}/pcidevs.txt"
  File "${SRCDIR}/pcidevs.txt"
!else
  !warning "no pcidevs.txt beside the program: the installer leaves it out"
!endif
!if /FileExists "${SRCDIR}/DriverDB.dat"
  File "${SRCDIR}/DriverDB.dat"
!endif
  SetOutPath "$INSTDIR\Language"
  File "${SRCDIR}/Language/*.ini"
  SetOutPath "$INSTDIR"

  WriteUninstaller "$INSTDIR\uninstall.exe"
  CreateDirectory "$SMPROGRAMS\${PRODUCT}"
  CreateShortcut "$SMPROGRAMS\${PRODUCT}\${PRODUCT}.lnk" "$INSTDIR\vantrel.exe"
  CreateShortcut "$SMPROGRAMS\${PRODUCT}\Uninstall ${PRODUCT}.lnk" "$INSTDIR\uninstall.exe"

  WriteRegStr HKLM "${UNINSTALL_KEY}" "DisplayName" "${PRODUCT}"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "DisplayVersion" "${VERSION}"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "Publisher" "The Vantrel developers"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "DisplayIcon" "$INSTDIR\vantrel.exe"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "InstallLocation" "$INSTDIR"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "UninstallString" '"$INSTDIR\uninstall.exe"'
  WriteRegStr HKLM "${UNINSTALL_KEY}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /S'
  WriteRegDWORD HKLM "${UNINSTALL_KEY}" "NoModify" 1
  WriteRegDWORD HKLM "${UNINSTALL_KEY}" "NoRepair" 1
SectionEnd

Section "Uninstall"
  SetShellVarContext all
  Delete "$SMPROGRAMS\${PRODUCT}\${PRODUCT}.lnk"
  Delete "$SMPROGRAMS\${PRODUCT}\Uninstall ${PRODUCT}.lnk"
  RMDir "$SMPROGRAMS\${PRODUCT}"

  Delete "$INSTDIR\vantrel.exe"
  Delete "$INSTDIR\sortascending.ico"
  Delete "$INSTDIR\sortdescending.ico"
  Delete "$INSTDIR\help.chm"
  Delete "$INSTDIR\DutchHelp.chm"
  ; LiveUpdate may have replaced or added the databases.
  Delete "$INSTDIR\pcidevs.txt"
  Delete "$INSTDIR\DriverDB.dat"
  Delete "$INSTDIR\Language\*.ini"
  RMDir "$INSTDIR\Language"
  Delete "$INSTDIR\uninstall.exe"
  ; Only an empty folder goes: anything the user put there stays.
  RMDir "$INSTDIR"

  DeleteRegKey HKLM "${UNINSTALL_KEY}"
SectionEnd
