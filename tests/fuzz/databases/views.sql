-- Views and triggers instead of tables; text in UTF-16.
PRAGMA encoding = 'UTF-16le';
CREATE TABLE base(id integer primary key, name text);
INSERT INTO base VALUES (1, 'T'), (2, 'O3');
CREATE VIEW measurement_type AS SELECT id, name FROM base;
CREATE VIEW device AS SELECT id, name AS model, name AS serial, name AS sw_version, name AS hw_version FROM base;
CREATE TABLE measurement_metadata(id integer primary key autoincrement, timestamp integer, meas_state integer, device_id integer);
CREATE TABLE measurement_value(id integer primary key autoincrement, measurement_id integer, measurement_type_id integer, value real);
CREATE INDEX byid ON measurement_value(measurement_id);
CREATE TRIGGER refused BEFORE INSERT ON measurement_value BEGIN SELECT raise(abort, 'no'); END;
CREATE TRIGGER taken INSTEAD OF INSERT ON device BEGIN INSERT INTO base(name) VALUES (NEW.serial); END;
CREATE TRIGGER gone AFTER INSERT ON measurement_metadata BEGIN DELETE FROM measurement_metadata; END;
INSERT INTO measurement_metadata VALUES (1, 1510568430000, 1, 1);
