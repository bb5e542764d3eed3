#!/usr/bin/python3
"""A standard OAuth2 client library against the real vorna-backend.

requests-oauthlib's client-credentials flow (BackendApplicationClient and fetch_token, which
authenticates the client with HTTP Basic) gets a token, and the token opens the kit's API.

    oauth_client_check.py <path of vorna-backend>

Exits 77 (skipped) when the library is not installed.
"""
import json
import os
import subprocess
import sys
import tempfile
import urllib.request

# The backend listens on loopback over plain http; the library refuses that unless told.
os.environ["OAUTHLIB_INSECURE_TRANSPORT"] = "1"

try:
    from oauthlib.oauth2 import BackendApplicationClient
    from oauthlib.oauth2.rfc6749.errors import InvalidClientError
    from requests_oauthlib import OAuth2Session
except ImportError as error:
    print(f"skipped: {error}; install python3-requests-oauthlib", file=sys.stderr)
    sys.exit(77)

# Characters that form encoding would change: the library puts them into Basic as they stand.
CLIENT_ID = "library+client"
CLIENT_SECRET = "s3+cr%t/=x"


def fetch_token(base, secret):
    session = OAuth2Session(client=BackendApplicationClient(client_id=CLIENT_ID))
    session.fetch_token(token_url=base + "auth/oauth2/token", client_id=CLIENT_ID,
                        client_secret=secret)
    return session


def journal(base):
    with urllib.request.urlopen(base + "admin/requests") as answer:
        return json.load(answer)


def check(base):
    session = fetch_token(base, CLIENT_SECRET)
    assert session.token["token_type"] == "Bearer", session.token

    token_requests = [r for r in journal(base) if r["path"] == "/auth/oauth2/token"]
    headers = {name.lower(): value for name, value in token_requests[-1]["headers"]}
    assert headers.get("authorization", "").startswith("Basic "), headers
    assert "client_secret" not in token_requests[-1].get("body", ""), token_requests[-1]

    registered = session.post(base + "api/1.0/issue_tracking/apps",
                              json={"bundle_id": "org.vorna.oauth-check", "os": "Linux",
                                    "platform": "Linux"})
    assert registered.status_code == 200, registered.text
    assert registered.json()["created"] is True, registered.text

    try:
        fetch_token(base, "wrong-secret")
        raise AssertionError("a wrong secret got a token")
    except InvalidClientError:
        pass
    print("oauth client check: requests-oauthlib got a token with Basic and registered an "
          "application with it; a wrong secret is refused as invalid_client")


def main():
    backend = sys.argv[1]
    with tempfile.TemporaryDirectory(prefix="vorna-oauth-check-") as work:
        process = subprocess.Popen(
            [backend, "--host", "127.0.0.1", "--port", "0", "--data-dir", work + "/data",
             "--client", f"{CLIENT_ID}:{CLIENT_SECRET}"],
            stdout=subprocess.PIPE, stderr=open(work + "/backend.log", "w"), text=True)
        try:
            line = process.stdout.readline().strip()
            prefix = "vorna-backend listening on "
            assert line.startswith(prefix), f"the backend did not start: {line!r}"
            check(line[len(prefix):])
        finally:
            process.terminate()
            process.wait(timeout=30)


if __name__ == "__main__":
    main()
