#!/bin/sh
# Prints whom gatehalld has a login screen show, says whether somebody may log in, and prints what changes. A
# shell holds no connection to the bus that signals could come to, so it asks every two seconds. With busctl(1)
# and jq(1).
#
# usage: users.sh [NAME]
set -eu

service=com.orvane.Gatehall1
object=/com/orvane/Gatehall1

# ask METHOD [TYPES ARGUMENT…]: the answer's values as a list in JSON; fails when there is none.
ask() {
  answer=$(busctl --system --json=short --timeout=60 call "$service" "$object" "$service" "$@") || return 1
  printf '%s\n' "$answer" | jq --compact-output .data
}

# What names may hold that a terminal would obey is left out.
for_terminal() {
  tr -d '\000-\010\013-\037\177'
}

# The whole list, page by page; again when it changes meanwhile.
read_list() {
  offset=0
  serial=
  list=
  while :; do
    page=$(ask ListUsers uu "$offset" 0) || return 1
    now=$(echo "$page" | jq '.[0]')
    if [ "${serial:=$now}" != "$now" ]; then
      read_list
      return
    fi
    list=$list$(echo "$page" | jq --raw-output '.[2][] | "  \(.shortName.data // "?")  \(.longName.data // "")"')'
'
    offset=$((offset + $(echo "$page" | jq '.[2] | length')))
    [ "$(echo "$page" | jq '.[2] == []')" = false ] || break
    [ "$offset" -lt "$(echo "$page" | jq '.[1]')" ] || break
  done
  printf 'users:\n%s' "$list" | for_terminal
}

for name; do
  verdict=$(ask CanLogIn ss "$name" "")
  printf '%s\n' "$verdict" |
    jq --raw-output --arg name "$name" \
      '.[0] | "\($name): \(if .allowed.data then "yes" else "no" end), \(.ruleText.data). \(.sentence.data)"' |
    for_terminal
done
read_list
while sleep 2; do
  changes=$(ask ListChanges t "$serial") || continue
  if [ "$(echo "$changes" | jq '.[1]')" = false ]; then
    known=$serial
    read_list || serial=$known
    continue
  fi
  serial=$(echo "$changes" | jq '.[0]')
  echo "$changes" | jq --raw-output '.[2][] | "\(.[0]): \(.[2].shortName.data // "?"), \(.[1])"' | for_terminal
done
