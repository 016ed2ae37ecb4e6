#!/usr/bin/python3
"""Takes every event that stations publish into the table of tables.sql, once.

A message is acknowledged only after its commit: what was not committed, the broker sends again. When
the database goes away this ends with an error; have it started again, as systemd's Restart=always does.
"""

import argparse
import json
import ssl
import sys
import time
from urllib.parse import urlsplit

import paho.mqtt.client as mqtt
import psycopg2

EVENTS = "created", "measurement", "struckOut", "tolerances", "remark", "calibrated"
INSERT = """
    INSERT INTO event (station, job, job_created, number, time, event, serial, kind, name, standard,
                       delta_e, grade, payload)
    VALUES (%s, %s, %s, %s, %s, %s, %s, %s, %s, %s, %s, %s, %s) ON CONFLICT DO NOTHING"""


def row_of(payload):
    event = json.loads(payload)
    result = event.get("result") or {}
    return (
        event["station"], event["job"], event["jobCreated"], event["number"], event["time"],
        event["event"], event["serial"], event.get("kind"), event.get("name"),
        (result.get("standard") or {}).get("name"), (result.get("difference") or {}).get("deltaE"),
        (result.get("verdict") or {}).get("grade"), payload.decode(),
    )


def client_for(options):
    version = [mqtt.CallbackAPIVersion.VERSION1] if hasattr(mqtt, "CallbackAPIVersion") else []
    client = mqtt.Client(*version, client_id=options.id, clean_session=False)
    if options.login:
        with open(options.login, encoding="utf-8") as file:
            client.username_pw_set(*file.read().split("\n")[:2])
    url = urlsplit(options.broker)
    if url.scheme == "mqtts":
        client.tls_set_context(ssl.create_default_context(cafile=options.ca))
    client.connect_async(url.hostname, url.port or (8883 if url.scheme == "mqtts" else 1883))
    return client


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("broker", help="mqtt://HOST[:PORT], or mqtts:// with TLS")
    parser.add_argument("database", help="such as 'dbname=hall', as libpq takes it")
    parser.add_argument("--login", help="file with two lines, user and password for the broker")
    parser.add_argument("--ca", help="file of the authority that the broker's certificate is from")
    parser.add_argument("--id", default="cq-hall", help="the broker keeps a queue for this name")
    parser.add_argument("--share", metavar="GROUP", help="share the messages with others of this group")
    options = parser.parse_args()
    database = psycopg2.connect(options.database)

    def subscribe(client, _data, _flags, reason):
        if reason != 0:
            sys.exit(f"the broker refuses: {mqtt.connack_string(reason)}")
        prefix = f"$share/{options.share}/" if options.share else ""
        client.subscribe([(f"{prefix}cq/+/+/{event}", 1) for event in EVENTS])

    def insert(_client, _data, message):
        try:
            with database, database.cursor() as cursor:  # commits, or rolls back
                cursor.execute(INSERT, row_of(message.payload))
        except (ValueError, KeyError, psycopg2.DataError, psycopg2.IntegrityError) as error:
            print(f"not an event, on {message.topic}: {error}", file=sys.stderr)

    while True:
        client = client_for(options)
        client.on_connect = subscribe
        client.on_subscribe = lambda *_: print("subscribed", flush=True)
        client.on_message = insert  # is acknowledged when it returns
        try:
            client.loop_forever(retry_first_connection=True)
        except OSError as error:  # of a connection that broke in the middle
            print(error, file=sys.stderr)
            time.sleep(1)


if __name__ == "__main__":
    main()
