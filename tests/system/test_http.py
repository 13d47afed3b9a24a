"""The port: requests, and clients, that are not what they should be."""
import resource
import socket
import time
import xmlrpc.client
from concurrent.futures import ThreadPoolExecutor

from support.program import PORT, URL
from support.waiting import SLOWNESS, wait_until

POST = "POST /RPC2 HTTP/1.1\r\nContent-Type: text/xml"


def connect():
    return socket.create_connection(("127.0.0.1", PORT), 20 * SLOWNESS)


def request(body, head=POST):
    body = body if isinstance(body, bytes) else body.encode()
    return f"{head}\r\nContent-Length: {len(body)}\r\n\r\n".encode() + body


def call(method, *values):
    parameters = "".join(f"<param><value>{value}</value></param>" for value in values)
    return f"<methodCall><methodName>{method}</methodName><params>{parameters}</params></methodCall>"


def receive(connection, end=b"never sent"):
    received = b""
    try:
        while end not in received and (part := connection.recv(65536)):
            received += part
    except ConnectionError:
        pass
    return received


def answers(sent):
    """All that comes back to these bytes, with no more to follow."""
    with connect() as connection:
        try:
            connection.sendall(sent)
            connection.shutdown(socket.SHUT_WR)
        except OSError:
            pass                                # turned away before all was sent
        return receive(connection)


HOSTILE = ['<!DOCTYPE m[<!ENTITY a "%\r"', " ", '<?xml version="1.0" encoding="no-such"?><methodCall/>',
           "<methodCall><methodName>tessarel.clear</methodName>",
           "<methodCall><methodName>tessarel.clear</methodName><params><param>" + 32 * "<value><array><data>",
           b"<methodCall><methodName>tessarel.clear</methodName><params>\xFF\xFF\xFF</params></methodCall>",
           call("tessarel.new_vertex_w_id", "<int>99999999999999</int>"), call("tessarel.new_vertex_w_id", "<int></int>"),
           call("tessarel.new_vertex_w_id", "<i8>1</i8>"),
           call("tessarel.set_vertex_attribute", "<int>1</int>", "label", "&#0;"),
           call("system.multicall", "<array><data><value><struct><member><name>methodName</name>"
                                    "<value>system.multicall</value></member></struct></value></data></array>")]
NO_CALLS = ["\r\n\r\n", "GET /RPC2 HTTP/1.1\r\n\r\n", f"{POST}\r\n\r\n", f"{POST}\r\nContent-Length: -1\r\n\r\n",
            f"{POST}\r\nContent-Length: 99999999999999999999\r\n\r\n", f"{POST}\r\nX: {'x' * 10000}\r\n\r\n",
            f"POST {'x' * 10000} HTTP/1.1\r\n\r\n", "\x16\x03\x01\x02\0\x01\0\x01\xfc\x03\x03\r\n\r\n", "\xff" * 5000,
            "POST /RPC2 HTTP/9.9\r\nContent-Type: text/xml\r\nContent-Length: 2\r\n\r\nhi"]


def test_a_hostile_body_is_answered_with_a_fault_and_what_is_no_call_turned_away_and_the_next_is_served(graph):
    for body in HOSTILE:
        with connect() as connection:
            connection.sendall(request(body))
            received = receive(connection, b"</methodResponse>\r\n")
            assert received.startswith(b"HTTP/1.1 200 OK\r\n") and b"faultCode" in received, body[:200]
            connection.sendall(request(call("tessarel.new_vertex")))
            assert b"<params>" in receive(connection, b"</methodResponse>\r\n"), body[:200]
    for sent in NO_CALLS:
        assert b"<params>" not in answers(sent.encode("latin1")), sent[:60]
        assert graph.new_vertex() >= 2 ** 30, sent[:60]


def test_a_long_batch_is_served_and_a_too_long_request_turned_away(graph):
    assert b"<i4>0</i4>" in answers(request(call("tessarel.clear") + " " * 4000000))
    assert b"XML-RPC request too large" in answers(request(call("tessarel.clear") + " " * 5000000))
    assert graph.new_vertex() >= 2 ** 30


def test_a_web_page_cannot_drive_the_server(graph):
    graph.new_vertex_w_id(1)
    hidden = request(call("tessarel.clear"))    # a second request, where the web server may not look for a body
    for head, body, is_page in [
            (f"{POST}\r\nOrigin: http://somewhere", call("tessarel.clear"), True),
            ("POST /RPC2 HTTP/1.1\r\norigin: null\r\nContent-Type: text/plain", hidden, True),
            ("POST /elsewhere HTTP/1.1\r\nORIGIN: http://somewhere\r\nContent-Type: text/plain", hidden, True),
            ("OPTIONS /RPC2 HTTP/1.1\r\nOrigin: http://somewhere\r\nAccess-Control-Request-Method: POST", hidden, True),
            ("POST /elsewhere HTTP/1.1\r\nContent-Type: text/plain", hidden, False),
            ("POST /RPC2 HTTP/1.1\r\nContent-Type: text/plain", hidden, False), ("GET /RPC2 HTTP/1.1", hidden, False)]:
        received = answers(request(body, head))
        assert received.startswith(b"HTTP/1.1 403") == is_page and b"<params>" not in received, head
    assert graph.new_vertex_w_id(1) == -1, "nobody has cleared the graph"


def test_a_hundred_clients_are_served_beside_those_that_say_nothing_or_go_away_and_a_call_at_work_is_not_ended(graph):
    long = connect()
    calls = [("new_vertex_w_id", 5), ("new_vertex_w_id", 6), *[("set_vertex_attribute", 5, "size", "2")] * 10000]
    several = [{"methodName": f"tessarel.{method}", "params": arguments} for method, *arguments in calls]
    long.sendall(request(xmlrpc.client.dumps((several,), "system.multicall").replace("\n", "")))
    wait_until(lambda: graph.new_edge_w_id(7, 5, 6) == 0, "the first of the long one's calls")
    silent = [connect() for _ in range(600)]    # twice as many as there is room for
    for number, connection in enumerate(silent):
        connection.sendall([request("<" * 99)[:90], b"POST /RP", b""][min(number % 10, 2)])
    for _ in range(50):
        with connect() as hasty:
            hasty.sendall(3 * request(call("system.listMethods")))

    def work(_):
        with xmlrpc.client.ServerProxy(URL) as server:
            return [server.tessarel.new_vertex() >= 2 ** 30 for _ in range(10)]
    start = time.monotonic()
    with ThreadPoolExecutor(100) as clients:
        assert list(clients.map(work, range(100))) == 100 * [10 * [True]]
    assert time.monotonic() - start < 12 * SLOWNESS, "some have waited for the silent ones"
    assert receive(long, b"</methodResponse>").count(b"<i4>0</i4>") == len(calls)
    for connection in silent:
        connection.close()


def test_want_of_descriptors_passes_and_the_server_serves_again(program, graph):
    process = program.process.pid
    limits = resource.prlimit(process, resource.RLIMIT_NOFILE)
    with xmlrpc.client.ServerProxy(URL) as before:
        assert before.tessarel.new_vertex() >= 2 ** 30
        resource.prlimit(process, resource.RLIMIT_NOFILE, (3, limits[1]))
        with connect() as starved:
            starved.sendall(request(call("tessarel.new_vertex")))
            time.sleep(0.3)
            assert before.tessarel.new_vertex() >= 2 ** 30, "those connected are served"
            resource.prlimit(process, resource.RLIMIT_NOFILE, limits)
            assert b"<params>" in receive(starved, b"</methodResponse>"), "and in the end the others"
    assert graph.new_vertex() >= 2 ** 30
