#!/usr/bin/env bash
# Starts (or stops) a private PostgreSQL and a private MariaDB server on
# 127.0.0.1 for the database tests and benchmarks, without systemd and
# without touching the machine's own clusters or ODBC configuration.
#
#   scripts/test-servers.sh start DIR   # servers up; DIR/env describes them
#   scripts/test-servers.sh stop DIR    # servers down, their data removed
#
# Nothing is installed here: scripts/setup.sh installs postgresql,
# mariadb-server and the ODBC drivers. The servers keep their data and
# sockets in a fresh folder under $TMPDIR (named in DIR/run); DIR receives a
# private odbcinst.ini (drivers), odbc.ini (system data sources) and
# user-odbc.ini (user data sources), and DIR/env, a file of NAME='value'
# lines that the tests read and a shell can source (set -a; . DIR/env):
#   ODBCSYSINI, ODBCINI             the private ODBC configuration
#   VANTROVE_TEST_PG                ODBC connection string of the PostgreSQL database
#   VANTROVE_TEST_MARIADB           ODBC connection string of the MariaDB database
#   VANTROVE_TEST_MARIADB_SERVER    host:port of MariaDB (for the MySQL role)
#   VANTROVE_TEST_PG_PORT, VANTROVE_TEST_MARIADB_PORT, VANTROVE_TEST_RUN
#   VANTROVE_TEST_PG_CTL            "pg_ctl -D data" command line that stops/starts PostgreSQL
# User and password of both: vantrove / vantrove-pw; database: vantrovedb.
set -euo pipefail

action=${1:-}
dir=${2:-}
if [[ -z "$action" || -z "$dir" ]]; then
  echo "usage: $0 start|stop DIR" >&2
  exit 2
fi
mkdir -p "$dir"
dir=$(cd "$dir" && pwd)

as_user() {  # as_user USER command...: servers refuse to run as root
  local user=$1; shift
  if [[ $(id -u) -eq 0 ]]; then runuser -u "$user" -- "$@"; else "$@"; fi
}

free_port() {
  /usr/bin/python3 -c 'import socket; s=socket.socket(); s.bind(("127.0.0.1",0)); print(s.getsockname()[1])'
}

pg_bin() { ls -d /usr/lib/postgresql/*/bin 2>/dev/null | sort -V | tail -1; }

stop_servers() {
  [[ -f "$dir/run" ]] || return 0
  local run; run=$(cat "$dir/run")
  local bin; bin=$(pg_bin)
  if [[ -d "$run/pg/data" && -n "$bin" ]]; then
    as_user postgres "$bin/pg_ctl" -D "$run/pg/data" -m immediate -w stop >/dev/null 2>&1 || true
  fi
  if [[ -S "$run/my/mysqld.sock" ]]; then
    mariadb-admin --no-defaults --socket="$run/my/mysqld.sock" -uroot shutdown >/dev/null 2>&1 || true
  fi
  if [[ -f "$run/my/mysqld.pid" ]]; then
    local pid; pid=$(cat "$run/my/mysqld.pid" 2>/dev/null || true)
    for _ in $(seq 50); do [[ -n "$pid" ]] && kill -0 "$pid" 2>/dev/null || break; sleep 0.1; done
    [[ -n "$pid" ]] && kill -9 "$pid" 2>/dev/null || true
  fi
  rm -rf "$run"
  rm -f "$dir/run" "$dir/env"
}

write_odbc_config() {
  local pgport=$1 myport=$2
  cat > "$dir/odbcinst.ini" <<EOF
[SQLite3]
Driver=libsqlite3odbc.so
DontDLClose=1
[PostgreSQL Unicode]
Driver=psqlodbcw.so
DontDLClose=1
[MariaDB Unicode]
Driver=libmaodbc.so
DontDLClose=1
[FreeTDS]
Driver=libtdsodbc.so
DontDLClose=1
EOF
  cat > "$dir/odbc.ini" <<EOF
[VantroveSystemSqlite]
Driver=SQLite3
Database=$dir/system-dsn.db
EOF
  cat > "$dir/user-odbc.ini" <<EOF
[VantrovePg]
Driver=PostgreSQL Unicode
Servername=127.0.0.1
Port=$pgport
Database=vantrovedb
[VantroveMaria]
Driver=MariaDB Unicode
Server=127.0.0.1
Port=$myport
Database=vantrovedb
Option=2
EOF
}

start_postgres() {
  local run=$1 port=$2 bin; bin=$(pg_bin)
  [[ -n "$bin" ]] || { echo "PostgreSQL is not installed (run scripts/setup.sh)" >&2; return 1; }
  mkdir -p "$run/pg"; chown postgres:postgres "$run/pg" 2>/dev/null || true
  as_user postgres "$bin/initdb" -D "$run/pg/data" -U postgres -A trust -E UTF8 --locale=C.UTF-8 --no-sync \
    >"$run/pg/initdb.log" 2>&1 || { cat "$run/pg/initdb.log" >&2; return 1; }
  # Password authentication on TCP, as real deployments use.
  sed -i -E 's/^(host\s+all\s+all\s+127\.0\.0\.1\/32\s+)trust/\1scram-sha-256/' "$run/pg/data/pg_hba.conf"
  as_user postgres "$bin/pg_ctl" -D "$run/pg/data" -l "$run/pg/server.log" -w -t 30 \
    -o "-c listen_addresses=127.0.0.1 -p $port -k $run/pg -c fsync=off" start >/dev/null ||
    { cat "$run/pg/server.log" >&2; return 1; }
  as_user postgres psql -q -h "$run/pg" -p "$port" -U postgres \
    -c "CREATE ROLE vantrove LOGIN PASSWORD 'vantrove-pw'" -c "CREATE DATABASE vantrovedb OWNER vantrove" >/dev/null
}

start_mariadb() {
  local run=$1 port=$2
  command -v mariadbd >/dev/null || { echo "MariaDB is not installed (run scripts/setup.sh)" >&2; return 1; }
  mkdir -p "$run/my"; chown mysql:mysql "$run/my" 2>/dev/null || true
  local user=(); [[ $(id -u) -eq 0 ]] && user=(--user=mysql)
  mariadb-install-db --no-defaults "${user[@]}" --datadir="$run/my/data" --auth-root-authentication-method=socket \
    --skip-test-db >"$run/my/install.log" 2>&1 || { cat "$run/my/install.log" >&2; return 1; }
  # Detached from this script's standard streams so that callers waiting on
  # them (ctest) do not wait for the server.
  setsid mariadbd --no-defaults "${user[@]}" --datadir="$run/my/data" --socket="$run/my/mysqld.sock" --port="$port" \
    --bind-address=127.0.0.1 --pid-file="$run/my/mysqld.pid" --log-error="$run/my/error.log" \
    --innodb-flush-log-at-trx-commit=2 --skip-name-resolve </dev/null >/dev/null 2>&1 &
  for _ in $(seq 120); do
    mariadb-admin --no-defaults --socket="$run/my/mysqld.sock" -uroot ping >/dev/null 2>&1 && break
    sleep 0.25
  done
  mariadb --no-defaults --socket="$run/my/mysqld.sock" -uroot -e "
    CREATE DATABASE vantrovedb CHARACTER SET utf8mb4;
    CREATE USER 'vantrove'@'127.0.0.1' IDENTIFIED BY 'vantrove-pw';
    GRANT ALL ON vantrovedb.* TO 'vantrove'@'127.0.0.1';
    CREATE USER 'vantrove'@'localhost' IDENTIFIED BY 'vantrove-pw';
    GRANT ALL ON vantrovedb.* TO 'vantrove'@'localhost';" || { cat "$run/my/error.log" >&2; return 1; }
}

case "$action" in
  start)
    stop_servers
    run=$(mktemp -d "${TMPDIR:-/tmp}/vantrove-servers.XXXXXX")
    chmod 755 "$run"
    echo "$run" > "$dir/run"
    pgport=$(free_port)
    myport=$(free_port)
    while [[ "$myport" == "$pgport" ]]; do myport=$(free_port); done
    if ! start_postgres "$run" "$pgport" || ! start_mariadb "$run" "$myport"; then
      stop_servers
      exit 1
    fi
    write_odbc_config "$pgport" "$myport"
    cat > "$dir/env" <<EOF
ODBCSYSINI='$dir'
ODBCINI='$dir/user-odbc.ini'
VANTROVE_TEST_RUN='$run'
VANTROVE_TEST_PG_PORT='$pgport'
VANTROVE_TEST_MARIADB_PORT='$myport'
VANTROVE_TEST_PG='Driver=PostgreSQL Unicode;Server=127.0.0.1;Port=$pgport;Database=vantrovedb;Uid=vantrove;Pwd=vantrove-pw;'
VANTROVE_TEST_MARIADB='Driver=MariaDB Unicode;Server=127.0.0.1;Port=$myport;Database=vantrovedb;Uid=vantrove;Pwd=vantrove-pw;Option=2;'
VANTROVE_TEST_MARIADB_SERVER='127.0.0.1:$myport'
VANTROVE_TEST_PG_CTL='$(pg_bin)/pg_ctl -D $run/pg/data'
EOF
    echo "test servers up: PostgreSQL on 127.0.0.1:$pgport, MariaDB on 127.0.0.1:$myport ($dir/env)"
    ;;
  stop)
    stop_servers
    echo "test servers stopped"
    ;;
  *)
    echo "usage: $0 start|stop DIR" >&2
    exit 2
    ;;
esac
