# Debian's nginx as a test's or benchmark's own server: a configuration of its own, on a
# free port of 127.0.0.1, serving ROOT, with its logs and temporary files below WORK.
# Sourced; start_nginx WORK ROOT sets nginx_port and nginx_pid and returns once the server
# answers (or fails the caller's fail()); the caller kills nginx_pid when done. nginx's
# workers read ROOT as another user: it must be readable by all.

start_nginx() {
  local work=$1 root=$2
  mkdir -p "$work"
  nginx_port=$(python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')
  cat >"$work/nginx.conf" <<CONF
daemon off;
pid $work/nginx.pid;
error_log $work/error.log;
events {}
http {
  access_log $work/access.log;
  client_body_temp_path $work/body;
  proxy_temp_path $work/proxy;
  fastcgi_temp_path $work/fastcgi;
  uwsgi_temp_path $work/uwsgi;
  scgi_temp_path $work/scgi;
  types { application/json json; }
  default_type application/octet-stream;
  sendfile on;
  server { listen 127.0.0.1:$nginx_port; root $root; }
}
CONF
  /usr/sbin/nginx -c "$work/nginx.conf" -e "$work/error.log" &
  nginx_pid=$!
  local _
  for _ in $(seq 100); do
    curl -s -o /dev/null "http://127.0.0.1:$nginx_port/" && return 0
    kill -0 "$nginx_pid" 2>/dev/null || fail "nginx did not start: $(cat "$work/error.log")"
    sleep 0.1
  done
  fail "nginx did not answer within ten seconds"
}
