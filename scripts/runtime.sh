# A Windows runtime of the project's own: Wine with its prefix and a virtual screen, all below build/ and gone with the
# script. Sourced after common.sh.

export WINEPREFIX=$BUILD/wine
export WINEDEBUG=-all
export WINEDLLOVERRIDES=mscoree,mshtml,winedbg.exe=
# Temporary files of the programs stay below build/ too.
export TMPDIR=$BUILD/tmp
mkdir -p "$TMPDIR"

runtime_screen_pid=

# Starts a screen of our own, WIDTHxHEIGHT or of the usual size, and makes DISPLAY point at it.
runtime_start_screen() {
  local number_file=$BUILD/screen.$BASHPID.number
  rm -f "$number_file"
  exec {runtime_number_fd}>"$number_file"
  Xvfb -displayfd "$runtime_number_fd" -screen 0 "${1:-1280x1024}x24" -nolisten tcp >"$LOGS/screen.log" 2>&1 &
  runtime_screen_pid=$!
  exec {runtime_number_fd}>&-
  local i
  for i in $(seq 100); do
    [ -s "$number_file" ] && break
    kill -0 "$runtime_screen_pid" 2>/dev/null || fail "the virtual screen did not start; see ${LOGS#"$ROOT"/}/screen.log"
    sleep 0.1
  done
  [ -s "$number_file" ] || fail "the virtual screen did not answer"
  DISPLAY=:$(tr -d '\n' <"$number_file")
  export DISPLAY
  rm -f "$number_file"
}

runtime_make_prefix() {
  if [ ! -f "$WINEPREFIX/.made" ]; then
    rm -rf "$WINEPREFIX"
    wineboot --init
    wineserver --wait
    touch "$WINEPREFIX/.made"
  fi
}

# Keeps the runtime's services between programs, which cost each of them seconds. They are started here, without output: one
# of a test's would stay open as long as they live.
runtime_keep_services() {
  wineserver --persistent
  wine cmd /c exit </dev/null >/dev/null 2>&1
}

# A window manager draws the caption and gives windows the focus, as a user's desktop does.
runtime_start_window_manager() {
  openbox --sm-disable >"$LOGS/window-manager.log" 2>&1 &
  sleep 0.5
}

# Cuts pictures of a window to what is seen of it: the platform takes its frame for larger than the window manager draws
# it, and the screen is black between them. Nothing reduces the colours, which would dither the dialog's grey.
runtime_trim_pictures() { mogrify -trim +repage -strip "$@"; }

runtime_stop() {
  wineserver --kill >/dev/null 2>&1 || true
  if [ -n "$runtime_screen_pid" ]; then
    kill "$runtime_screen_pid" >/dev/null 2>&1 || true
    wait "$runtime_screen_pid" 2>/dev/null || true
    runtime_screen_pid=
  fi
}
trap runtime_stop EXIT
trap 'exit 130' INT TERM
