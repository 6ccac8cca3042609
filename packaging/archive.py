"""Zip archives. The same files give the same bytes: sorted names, one time, one mode."""
import time
import zipfile


def make(folder, epoch, target):
    """Packs all files of the folder, below a folder with the archive's name."""
    moment = time.gmtime(epoch)[:6]
    with zipfile.ZipFile(target, "w", zipfile.ZIP_DEFLATED, compresslevel=6) as archive:
        for path in sorted(path for path in folder.rglob("*") if path.is_file()):
            inside = f"{target.stem}/{path.relative_to(folder).as_posix()}"
            entry = zipfile.ZipInfo(inside, moment)
            entry.create_system = 3
            entry.external_attr = 0o100644 << 16
            entry.compress_type = zipfile.ZIP_DEFLATED
            archive.writestr(entry, path.read_bytes())
