#!/usr/bin/env python3
"""Interoperability with python-tuf, the reference implementation of The Update Framework.

  python_tuf_interop.py read METADATA_URL TARGETS_URL ROOT_JSON TARGET OUT_DIR
      python-tuf's client (tuf.ngclient) refreshes from a repository and downloads TARGET
      into OUT_DIR: the repository that `ovxext repo` made must satisfy it.
  python_tuf_interop.py make DIR TARGET_FILE
      python-tuf's metadata API writes a repository into DIR (DIR/metadata, DIR/targets),
      consistent snapshots and Ed25519 keys, listing TARGET_FILE: the update channel's
      client must read it.
Needs PYTHONPATH with the vendored python-tuf and securesystemslib (scripts/channel-e2e.sh).
"""

import os
import shutil
import sys
from datetime import datetime, timedelta, timezone

try:
    import crypto_compat  # noqa: F401  (Debian 12's cryptography is older than the libraries expect)
except ImportError:
    pass


def read(metadata_url: str, targets_url: str, root: str, target: str, out_dir: str) -> None:
    from tuf.ngclient import Updater

    metadata_dir = os.path.join(out_dir, "metadata")
    os.makedirs(metadata_dir, exist_ok=True)
    shutil.copyfile(root, os.path.join(metadata_dir, "root.json"))
    updater = Updater(metadata_dir, metadata_url, out_dir, targets_url)
    updater.refresh()
    info = updater.get_targetinfo(target)
    if info is None:
        raise SystemExit(f"python-tuf finds no target {target}")
    path = updater.download_target(info, os.path.join(out_dir, os.path.basename(target)))
    print(f"python-tuf downloaded {target} ({info.length} bytes) to {path}")


def make(repo_dir: str, target_file: str) -> None:
    from securesystemslib.signer import CryptoSigner
    from tuf.api.metadata import (Metadata, MetaFile, Root, Snapshot, TargetFile, Targets,
                                  Timestamp)

    expires = datetime.now(timezone.utc).replace(microsecond=0) + timedelta(days=7)
    signers = {role: CryptoSigner.generate_ed25519() for role in ("root", "targets", "snapshot", "timestamp")}
    root = Root(expires=expires, consistent_snapshot=True)
    for role, signer in signers.items():
        root.add_key(signer.public_key, role)
    target = TargetFile.from_file(os.path.basename(target_file), target_file, ["sha256"])
    target.unrecognized_fields["custom"] = {"orvex": {"platforms": ["x64"]}}
    targets = Targets(expires=expires, targets={target.path: target})
    snapshot = Snapshot(expires=expires, meta={"targets.json": MetaFile(1)})
    timestamp = Timestamp(expires=expires, snapshot_meta=MetaFile(1))
    os.makedirs(os.path.join(repo_dir, "metadata"), exist_ok=True)
    os.makedirs(os.path.join(repo_dir, "targets"), exist_ok=True)
    for role, signed, name in ((("root"), root, "1.root.json"), ("targets", targets, "1.targets.json"),
                               ("snapshot", snapshot, "1.snapshot.json"), ("timestamp", timestamp, "timestamp.json")):
        metadata = Metadata(signed)
        metadata.sign(signers[role])
        metadata.to_file(os.path.join(repo_dir, "metadata", name))
    digest = target.hashes["sha256"]
    shutil.copyfile(target_file, os.path.join(repo_dir, "targets", f"{digest}.{target.path}"))
    print(f"python-tuf made a repository in {repo_dir} listing {target.path}")


if __name__ == "__main__":
    if len(sys.argv) == 7 and sys.argv[1] == "read":
        read(*sys.argv[2:])
    elif len(sys.argv) == 4 and sys.argv[1] == "make":
        make(*sys.argv[2:])
    else:
        raise SystemExit(__doc__)
