"""Serves ROOT on 127.0.0.1 on a free port, written to PORT_FILE once it listens. --tls CERT
requires explicit TLS; --drop-after N drops the session after N bytes of an upload."""
import argparse
import logging
import os

from pyftpdlib.authorizers import DummyAuthorizer
from pyftpdlib.handlers import DTPHandler, FTPHandler
from pyftpdlib.servers import ThreadedFTPServer

parser = argparse.ArgumentParser()
parser.add_argument("root")
parser.add_argument("port_file")
parser.add_argument("--user", default="anna")
parser.add_argument("--password", default="secret")
parser.add_argument("--tls")
parser.add_argument("--drop-after", type=int, default=0)
args = parser.parse_args()
logging.basicConfig(level=logging.ERROR)

authorizer = DummyAuthorizer()
authorizer.add_user(args.user, args.password, args.root, perm="elradfmwMT")
handler = FTPHandler
if args.tls:
    from pyftpdlib.handlers import TLS_DTPHandler, TLS_FTPHandler

    class HandshakingDTPHandler(TLS_DTPHandler):
        # pyftpdlib closes a data connection that is read before its transfer command as idle,
        # which cuts off a TLS handshake begun right after connecting.
        def readable(self):
            return self._ssl_accepting or super().readable()

    handler = TLS_FTPHandler
    handler.dtp_handler = HandshakingDTPHandler
    handler.certfile = args.tls
    handler.tls_control_required = True
    handler.tls_data_required = True
if args.drop_after:

    class DroppingDTPHandler(handler.dtp_handler):
        def handle_read_event(self):
            handler.dtp_handler.handle_read(self)
            if self.connected and self.tot_bytes_received >= args.drop_after:
                self.cmd_channel.close()

    handler.dtp_handler = DroppingDTPHandler
handler.authorizer = authorizer
# A refused login is answered at once, not after the usual pause against password guessing.
handler.auth_failed_timeout = 0
handler.banner = "ready"
server = ThreadedFTPServer(("127.0.0.1", 0), handler)
server.max_cons = 64
with open(args.port_file + ".tmp", "w") as out:
    out.write(str(server.address[1]))
os.rename(args.port_file + ".tmp", args.port_file)
server.serve_forever()
