#!/bin/bash
# device_tree.sh DIR   writes DIR/vm.dtb: the emulated machine's own device tree, and in it the
# frequency domains, thermal zones and board strings of a phone.
set -euo pipefail
cd "$1"

qemu-system-aarch64 -machine virt,gic-version=3,dumpdtb=virt.dtb -cpu cortex-a72 -smp 3 -m 256 \
    -nic none -nographic >/dev/null 2>&1
dtc -q -I dtb -O dts virt.dtb -o vm.dts

# operating_points LABEL KHZ...   one table of operating points
operating_points() {
    local label=$1 microvolt=600000 khz
    shift
    echo "	$label: opp-table-${label//_/-} {"
    echo "		compatible = \"operating-points-v2\";"
    for khz in "$@"; do
        echo "		opp-${khz}000 {"
        echo "			opp-hz = /bits/ 64 <${khz}000>;"
        echo "			opp-microvolt = <$microvolt>;"
        echo "			clock-latency-ns = <300000>;"
        echo "		};"
        microvolt=$((microvolt + 50000))
    done
    echo "	};"
}

# fixed_clock LABEL HZ
fixed_clock() {
    echo "	$1: $1 { compatible = \"fixed-clock\"; #clock-cells = <0>; clock-frequency = <$2>; };"
}

# frequency_domain NAME CLOCK TABLE   driven by imx-bus.ko; the node's name becomes the device's
frequency_domain() {
    echo "	$1 {"
    echo "		compatible = \"fsl,imx8m-noc\";"
    echo "		clocks = <&$2>;"
    echo "		operating-points-v2 = <&$3>;"
    echo "	};"
}

# sensor N   a thermal sensor whose registers are plain memory: temp = 200 millicelsius * the low ten
# bits of the word at 0x4f00N200, which the boot presets
sensor() {
    echo "	avs$1: avs@4f00${1}000 {"
    echo "		compatible = \"brcm,bcm2711-avs-monitor\", \"syscon\", \"simple-mfd\";"
    echo "		reg = <0x0 0x4f00${1}000 0x0 0x1000>;"
    echo "		tsens$1: thermal {"
    echo "			compatible = \"brcm,bcm2711-thermal\";"
    echo "			#thermal-sensor-cells = <0>;"
    echo "		};"
    echo "	};"
}

# cooling TRIP CPU...
cooling() {
    local trip=$1 cpu
    shift
    echo "			cooling-maps {"
    for cpu in "$@"; do
        echo "				map$cpu {"
        echo "					trip = <&$trip>;"
        echo "					cooling-device = <&{/cpus/cpu@$cpu} 0xffffffff 0xffffffff>;"
        echo "				};"
    done
    echo "			};"
}

# thermal_zone NAME SENSOR MILLIWATT CPU...
thermal_zone() {
    # Kernels of late let the engine lower the trip points 1 and 2, so the critical one, at which the
    # machine powers off, is another.
    local name=$1 sensor=$2 milliwatt=$3
    shift 3
    cat <<DTS
		$name-thermal {
			polling-delay-passive = <100>;
			polling-delay = <200>;
			coefficients = <200 0>;
			sustainable-power = <$milliwatt>;
			thermal-sensors = <&$sensor>;
			trips {
				switch-on { temperature = <65000>; hysteresis = <1000>; type = "passive"; };
				${name}_control: control {
					temperature = <85000>; hysteresis = <1000>; type = "passive";
				};
				high { temperature = <110000>; hysteresis = <1000>; type = "hot"; };
				crit { temperature = <115000>; hysteresis = <1000>; type = "critical"; };
			};
DTS
    cooling "${name}_control" "$@"
    echo "		};"
}

{
    cat <<'DTS'
/ {
	/* The second string is on the kernel's list of boards that get the generic cpufreq driver with
	   one governor a policy. */
	compatible = "vexa,testboard", "rockchip,rk3399", "linux,dummy-virt";
	vexa,chiptype = "vexa-chip-1";
	vexa,boardname = "vexa-board-x";

DTS
    fixed_clock cpuclk0 1530000000
    fixed_clock cpuclk1 2150000000
    fixed_clock cpuclk2 2487000000
    fixed_clock gpuclk 750000000
    fixed_clock ddrclk 2133000000
    fixed_clock l3cclk 1380000000
    operating_points cpu0_opp 418000 576000 734000 893000 1052000 1211000 1370000 1530000
    operating_points cpu1_opp 418000 665000 912000 1160000 1407000 1655000 1902000 2150000
    operating_points cpu2_opp 1239000 1417000 1595000 1774000 1952000 2130000 2309000 2487000
    operating_points gpu_opp 279000 387000 495000 603000 675000 750000
    operating_points ddr_opp 418000 547000 800000 1066000 1600000 1866000 2133000
    operating_points l3c_opp 335000 576000 806000 1019000 1152000 1280000 1380000
    frequency_domain gpufreq gpuclk gpu_opp
    frequency_domain ddrfreq ddrclk ddr_opp
    frequency_domain l3c_devfreq l3cclk l3c_opp
    cat <<'DTS'
	/* Memory kept from the system, to stand in for the sensors' registers. */
	reserved-memory {
		#address-cells = <2>;
		#size-cells = <2>;
		ranges;
		registers@4f000000 { reg = <0x0 0x4f000000 0x0 0x10000>; no-map; };
	};
DTS
    sensor 0
    sensor 1
    echo "	thermal-zones {"
    thermal_zone soc tsens0 4500 0 1 2
    thermal_zone board tsens1 9000 2
    echo "	};"
    echo "};"
    for n in 0 1 2; do
        echo "&{/cpus/cpu@$n} {"
        echo "	clocks = <&cpuclk$n>;"
        echo "	operating-points-v2 = <&cpu${n}_opp>;"
        echo "	#cooling-cells = <2>;"
        echo "	dynamic-power-coefficient = <$((100 + 150 * n))>;"
        echo "	capacity-dmips-mhz = <$((400 + 300 * n))>;"
        echo "};"
    done
} >>vm.dts
dtc -q -I dts -O dtb vm.dts -o vm.dtb
