"""Observations of a weather station: a schema, messages, their forms, a file of them, and what reading finds wrong.

The cells run one after the other, here or in an editor that knows them.
"""

# %% A catalogue is made of schema files. Its classes are Python classes.
import datetime
import pathlib

import kwxml

SCHEMA = pathlib.Path(__file__).resolve().parents[2] / "examples" / "own-catalogue" / "Weather.xml"
Weather = kwxml.Catalogue(SCHEMA)
print(Weather)
for field in kwxml.fields(Weather.Report):
    print(f"  {field.name}: {field.doc}")

# %% Messages take the values of their fields by name, and check them.
morning = datetime.datetime(2026, 1, 31, 6, 0, tzinfo=datetime.timezone.utc)
report = Weather.Report(station="Feldberg", readings=[{"at": morning, "celsius": -3.5, "sky": "CLOUDS"}])
report.readings.append(Weather.Reading(at=morning + datetime.timedelta(hours=6), celsius=1.25, sky=Weather.Sky.CLEAR))
print(report.readings[1].sky.name, max(reading.celsius for reading in report.readings))
for wrong in ({"celsius": "mild"}, {"celcius": 1.0}):
    try:
        Weather.Reading(**wrong)
    except TypeError as error:
        print("TypeError:", error)

# %% Every message has the same forms, and reads back from each of them.
print(report.to_xml(declaration=False, enum_names=True))
print(report.to_json())
data = report.to_bytes(check=True)
print(len(data), "bytes;", Weather.from_bytes(data) == Weather.Report.from_xml(report.to_xml()) == report)

# %% Lists and nested messages are views: what is changed in them is changed in the message.
changed = report.copy()
first = changed.readings[0]
first.celsius = -4.0
del changed.readings[1]
for difference in report.diff(changed):
    print(difference.path, difference.before, "->", difference.after)

# %% A text that says something else than a message is refused, unless one asks for what can be read.
text = "<Weather_Report station='Feldberg'>\n  <readings celsius='mild' sky='RAIN'/>\n</Weather_Report>"
try:
    Weather.from_xml(text)
except kwxml.DecodeError as error:
    print(f"{error.line}:{error.column}: {error.path}: {error}")
problems: list[kwxml.Problem] = []
print(Weather.from_xml(text, lenient=True, problems=problems), len(problems))

# %% Files hold any number of messages, and are read one at a time.
with kwxml.record_writer("reports.dat") as out:
    for day in range(3):
        out.write(Weather.Report(station=f"Station {day}"))
print([message.station for message in Weather.records("reports.dat")])
