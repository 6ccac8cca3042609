"""The software bill of materials, in the form of SPDX 2.3."""
import datetime
import hashlib
import json
import re
import urllib.parse
import uuid

import components


def identifier(name):
    return "SPDXRef-" + re.sub(r"[^A-Za-z0-9.-]+", "-", name)


def of_component(component):
    version = component.version
    return {
        "SPDXID": identifier("component-" + component.name),
        "name": component.name,
        "versionInfo": version,
        "supplier": "Organization: Debian",
        "downloadLocation": "NOASSERTION",
        "filesAnalyzed": False,
        "licenseConcluded": component.licence,
        "licenseDeclared": component.licence,
        "copyrightText": "NOASSERTION",
        "externalRefs": [{
            "referenceCategory": "PACKAGE-MANAGER", "referenceType": "purl",
            "referenceLocator": f"pkg:deb/debian/{component.package}"
                                f"@{urllib.parse.quote(version, safe='')}"}],
    }


def of_product(path, inside, version):
    licences = {part for component in inside for part in component.licence.split(" AND ")}
    return {
        "SPDXID": identifier("product-" + path.name),
        "name": "Plexum",
        "versionInfo": version,
        "packageFileName": path.name,
        "supplier": "Organization: Plexum maintainers",
        "downloadLocation": "NOASSERTION",
        "filesAnalyzed": False,
        "checksums": [{"algorithm": "SHA256",
                       "checksumValue": hashlib.sha256(path.read_bytes()).hexdigest()}],
        "licenseConcluded": " AND ".join(sorted(licences | {"MIT"})),
        "licenseDeclared": "MIT",
        "copyrightText": "Copyright (c) 2026 Plexum maintainers",
    }


def document(products, version, epoch):
    """products: the components of each package that users download."""
    content = sorted({component for inside in products.values() for component in inside},
                     key=lambda component: component.name)
    relations = [("SPDXRef-DOCUMENT", "DESCRIBES", identifier("product-" + path.name))
                 for path in products]
    relations += [(identifier("product-" + path.name), "CONTAINS",
                   identifier("component-" + component.name))
                  for path, inside in products.items() for component in inside]
    packages = [of_product(path, inside, version) for path, inside in products.items()]
    # A document with other content needs another name space.
    space = uuid.uuid5(uuid.NAMESPACE_OID, json.dumps(packages)).urn
    created = datetime.datetime.fromtimestamp(epoch, datetime.timezone.utc)
    return json.dumps({
        "spdxVersion": "SPDX-2.3",
        "dataLicense": "CC0-1.0",
        "SPDXID": "SPDXRef-DOCUMENT",
        "name": f"Plexum-{version}",
        "documentNamespace": space,
        "creationInfo": {"created": created.strftime("%Y-%m-%dT%H:%M:%SZ"),
                         "creators": ["Organization: Plexum maintainers", "Tool: script-package"]},
        "packages": packages + [of_component(component) for component in content],
        "relationships": [{"spdxElementId": source, "relationshipType": kind,
                           "relatedSpdxElement": target} for source, kind, target in relations],
    }, indent=2) + "\n"
