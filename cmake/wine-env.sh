# Wine's environment for this project's Windows programs, in one place: headless, quiet,
# no offer to install Mono or Gecko and no debugger, and a UTF-8 locale (Wine maps file
# names through the locale, and in the C locale it can create no file whose name is not
# ASCII). Sourced by cmake/wine-run.sh and cmake/wine-session.sh, which CTest runs, and by
# the scripts that run Windows programs themselves. The caller names the prefix in
# WINEPREFIX.
: "${WINEPREFIX:?WINEPREFIX must name the Wine prefix}"
export WINEPREFIX WINEDEBUG=-all DISPLAY= WINEDLLOVERRIDES=mscoree,mshtml,winedbg.exe=d LC_ALL=C.UTF-8
