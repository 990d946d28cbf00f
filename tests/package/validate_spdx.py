#!/usr/bin/env python3
"""Checks the structure of an SPDX 2.3 document, and that it names certain packages.

  validate_spdx.py FILE NAME=VERSION NAME...

The rules are those of clauses 6 to 11 of SPDX 2.3 for the fields that we use, and what scanners rely on: a
version and a package URL for each package.
"""
import json
import re
import sys

LICENCE = re.compile(r"NOASSERTION|NONE|[A-Za-z0-9.+-]+( (AND|OR|WITH) [A-Za-z0-9.+-]+)*")
RELATIONS = {"DESCRIBES", "DYNAMIC_LINK", "STATIC_LINK"}


def problems_of_document(document):
    required = {"spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT"}
    yield from (f"{key} is not {value}" for key, value in required.items() if document.get(key) != value)
    if not document.get("name"):
        yield "the document has no name"
    if not re.fullmatch(r"https?://[^#\s]+", document.get("documentNamespace", "")):
        yield "documentNamespace is not a URI without a fragment"
    creation = document.get("creationInfo", {})
    if not re.fullmatch(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ", creation.get("created", "")):
        yield "created is not a time in UTC"
    creators = creation.get("creators", [])
    if not creators or not all(re.match(r"(Person|Organization|Tool): \S", creator) for creator in creators):
        yield "a creator has no kind"


def problems_of_package(package, licences):
    name = package.get("name", "a package without a name")
    if not re.fullmatch(r"SPDXRef-[A-Za-z0-9.-]+", package.get("SPDXID", "")):
        yield f"{name}: its SPDXID is malformed"
    yield from (f"{name}: no {key}" for key in ("versionInfo", "downloadLocation", "copyrightText") if not package.get(key))
    if package.get("filesAnalyzed") is not False:
        yield f"{name}: files were not analysed"
    if package.get("supplier") != "NOASSERTION" and not re.match(r"(Person|Organization): \S", package.get("supplier", "")):
        yield f"{name}: its supplier has no kind"
    for key in ("licenseConcluded", "licenseDeclared"):
        if not LICENCE.fullmatch(package.get(key, "")):
            yield f"{name}: {key} is not a licence expression"
        elif package[key].startswith("LicenseRef-") and package[key] not in licences:
            yield f"{name}: the text of {package[key]} is missing"
    locators = [reference["referenceLocator"] for reference in package.get("externalRefs", [])
                if (reference.get("referenceCategory"), reference.get("referenceType")) == ("PACKAGE-MANAGER", "purl")]
    if locators != [f"pkg:generic/{package.get('name')}@{package.get('versionInfo')}"]:
        yield f"{name}: its package URL is {locators}"


def problems(document, wanted):
    yield from problems_of_document(document)
    licences = {info.get("licenseId") for info in document.get("hasExtractedLicensingInfos", [])
                if info.get("extractedText")}
    packages = document.get("packages", [])
    for package in packages:
        yield from problems_of_package(package, licences)
    ids = [document.get("SPDXID"), *(package.get("SPDXID") for package in packages)]
    if len(set(ids)) != len(ids):
        yield "two elements have the same SPDXID"
    related = set()
    for relation in document.get("relationships", []):
        ends = relation.get("spdxElementId"), relation.get("relatedSpdxElement")
        if relation.get("relationshipType") not in RELATIONS or not set(ends) <= set(ids):
            yield f"a relationship is malformed: {relation}"
        related |= set(ends)
    yield from (f"{element} has no relationship" for element in ids if element not in related)
    found = {package.get("name"): package.get("versionInfo") for package in packages}
    for argument in wanted:
        name, _, version = argument.partition("=")
        if name not in found or version not in ("", found[name]):
            yield f"no package {argument}"


with open(sys.argv[1], encoding="utf-8") as file:
    errors = list(problems(json.load(file), sys.argv[2:]))
print("\n".join(errors))
sys.exit(1 if errors else 0)
