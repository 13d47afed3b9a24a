#!/usr/bin/ruby
# A ring of twelve hours: styles, labels and arrows, then a change of one style that recolours all, then one hour less.
#
#     ruby ring.rb [SECONDS]
require "xmlrpc/client"

PAUSE = (ARGV[0] || 3).to_f
SERVER = XMLRPC::Client.new("127.0.0.1", "/RPC2", 20738)

def call(method, *arguments)
  answer = SERVER.call("tessarel.#{method}", *arguments)
  raise "#{method} was refused; the server's log tells why" if answer == -1

  answer
end

def draw
  call("clear")
  call("new_vertex_style_w_id", 1, 0)
  call("set_vertex_style_attribute", 1, "color", "#3080FF")
  call("set_vertex_style_attribute", 1, "shape", "sphere")
  call("set_vertex_style_attribute", 1, "size", "1.5")
  call("new_vertex_style_w_id", 2, 1) # looks like style 1 but for what it says itself
  call("set_vertex_style_attribute", 2, "shape", "cube")
  call("set_vertex_style_attribute", 2, "size", "3")
  call("set_edge_style_attribute", 0, "color", "#808080")
  call("set_edge_style_attribute", 0, "arrow", "true")
  call("set_edge_style_attribute", 0, "arrow_length", "2")

  (1..12).each do |hour|
    call("new_vertex_w_id", hour)
    call("change_vertex_style", hour, (hour % 3).zero? ? 2 : 1)
    call("set_vertex_attribute", hour, "label", hour.to_s)
  end
  (1..12).each { |hour| call("new_edge_w_id", hour, hour, hour % 12 + 1) }

  sleep PAUSE
  call("set_vertex_style_attribute", 1, "color", "#FF8000") # one call, and all are orange

  sleep PAUSE
  call("remove_vertex", 12) # its two edges go with it
end

begin
  draw
rescue StandardError => e
  abort "ring: #{e.message}"
end
