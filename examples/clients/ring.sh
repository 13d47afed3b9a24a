#!/bin/sh
# A ring of twelve hours: styles, labels and arrows, then a change of one style that recolours all, then one hour less.
#
#     sh ring.sh [SECONDS]
set -eu
pause=${1:-3}

# call METHOD TYPE:VALUE ...   where TYPE is int or string; none of the values here has an "&" or a "<" to escape
call() {
  method=$1
  shift
  parameters=
  for argument; do
    type=${argument%%:*}
    parameters="$parameters<param><value><$type>${argument#*:}</$type></value></param>"
  done
  answer=$(curl --silent --show-error --header 'Content-Type: text/xml' --data-binary \
    "<methodCall><methodName>tessarel.$method</methodName><params>$parameters</params></methodCall>" \
    http://127.0.0.1:20738/RPC2)
  case $answer in
    *'<fault>'* | *'>-1<'* | '') echo "ring: $method was refused; the server's log tells why" >&2; exit 1 ;;
  esac
}

set_vertex() { call set_vertex_attribute "int:$1" "string:$2" "string:$3"; }
set_style() { call set_vertex_style_attribute "int:$1" "string:$2" "string:$3"; }
set_edges() { call set_edge_style_attribute int:0 "string:$1" "string:$2"; }

call clear
call new_vertex_style_w_id int:1 int:0
set_style 1 color '#3080FF'
set_style 1 shape sphere
set_style 1 size 1.5
call new_vertex_style_w_id int:2 int:1                  # looks like style 1 but for what it says itself
set_style 2 shape cube
set_style 2 size 3
set_edges color '#808080'
set_edges arrow true
set_edges arrow_length 2

for hour in 1 2 3 4 5 6 7 8 9 10 11 12; do
  call new_vertex_w_id "int:$hour"
  call change_vertex_style "int:$hour" "int:$((hour % 3 == 0 ? 2 : 1))"
  set_vertex "$hour" label "$hour"
done
for hour in 1 2 3 4 5 6 7 8 9 10 11 12; do
  call new_edge_w_id "int:$hour" "int:$hour" "int:$((hour % 12 + 1))"
done

sleep "$pause"
set_style 1 color '#FF8000'                             # one call, and all are orange

sleep "$pause"
call remove_vertex int:12                               # its two edges go with it
