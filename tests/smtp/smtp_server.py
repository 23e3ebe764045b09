#!/usr/bin/python3
"""A real SMTP server for the tests: aiosmtpd on 127.0.0.1.

Prints "ready PORT" once it listens, then stores every accepted message in
--out as N.eml (the data as received) and N.json (envelope). Runs until
stdin closes or it is killed.
"""
import argparse
import email
import email.policy
import json
import os
import socket
import ssl
import sys
import logging
logging.basicConfig(level=logging.ERROR)

from aiosmtpd.controller import Controller
from aiosmtpd.smtp import AuthResult


class Store:
    def __init__(self, out, reject):
        self.out = out
        self.reject = reject
        self.count = 0

    async def handle_RCPT(self, server, session, envelope, address, rcpt_options):
        if self.reject and self.reject in address:
            return "550 5.1.1 mailbox unavailable"
        envelope.rcpt_tos.append(address)
        return "250 OK"

    async def handle_DATA(self, server, session, envelope):
        self.count += 1
        base = os.path.join(self.out, "%d" % self.count)
        with open(base + ".eml.part", "wb") as f:
            f.write(envelope.original_content or envelope.content)
        data = envelope.original_content or envelope.content
        message = email.message_from_bytes(data, policy=email.policy.default)
        with open(base + ".json", "w") as f:
            json.dump({"from": envelope.mail_from, "to": envelope.rcpt_tos,
                       "tls": session.ssl is not None,
                       "login": bool(session.authenticated),
                       "subject": str(message["subject"]),
                       "headers": [k for k in message.keys()],
                       "body": message.get_content()}, f)
        os.rename(base + ".eml.part", base + ".eml")
        return "250 Message accepted"


def free_port():
    s = socket.socket()
    s.bind(("127.0.0.1", 0))
    port = s.getsockname()[1]
    s.close()
    return port


def main():
    p = argparse.ArgumentParser()
    p.add_argument("--out", required=True)
    p.add_argument("--auth", help="user:password that the server accepts")
    p.add_argument("--cert")
    p.add_argument("--key")
    p.add_argument("--implicit-tls", action="store_true")
    p.add_argument("--reject", help="refuse recipients containing this text")
    a = p.parse_args()

    kwargs = {}
    context = None
    if a.cert:
        context = ssl.create_default_context(ssl.Purpose.CLIENT_AUTH)
        context.load_cert_chain(a.cert, a.key)
    if a.auth:
        user, password = a.auth.split(":", 1)

        def authenticate(server, session, envelope, mechanism, data):
            ok = data.login.decode() == user and data.password.decode() == password
            return AuthResult(success=ok, handled=False)

        kwargs["authenticator"] = authenticate
        kwargs["auth_require_tls"] = False
    port = free_port()
    if a.implicit_tls:
        controller = Controller(Store(a.out, a.reject), hostname="127.0.0.1", port=port,
                                ssl_context=context, **kwargs)
    else:
        if context:
            kwargs["tls_context"] = context
        controller = Controller(Store(a.out, a.reject), hostname="127.0.0.1", port=port, **kwargs)
    controller.start()
    print("ready %d" % port, flush=True)
    sys.stdin.read()
    controller.stop()


if __name__ == "__main__":
    main()
