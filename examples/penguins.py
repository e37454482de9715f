"""A first look at a system file in Python: open, look, plot, group, write back.

    python examples/penguins.py

needs the package datasrc (pip install ./python) with pandas and matplotlib. It writes penguins.png and
heavy_penguins.quav into the present folder.
"""

from pathlib import Path

import matplotlib.pyplot as plt

import datasrc

# ---- Open: reads the dictionary, but no case ----

survey = datasrc.open(Path(__file__).with_name("penguins.quav"))
print(survey)

# ---- Look at a variable ----

print(survey.variables["species"])

# ---- Read into a data frame, with labels in place of codes ----

penguins = survey.to_pandas(labels=True)
print(penguins.head())

# ---- Group ----

print(penguins.groupby(["species", "sex"], observed=True)["BodyMass"].agg(["count", "mean"]).round(1))
print("mean body mass of males:", round(penguins.query("sex == 'male'")["BodyMass"].mean(), 1), "g")

# ---- Plot: labels of variables are titles of axes ----

figure, axes = plt.subplots(figsize=(7, 5))
for species, group in penguins.groupby("species", observed=True):
    axes.scatter(group["FlipperLength"], group["BodyMass"], label=species, s=14)
axes.set_xlabel(survey.variables["FlipperLength"].label)
axes.set_ylabel(survey.variables["BodyMass"].label)
axes.set_title(survey.label)
axes.legend()
figure.savefig("penguins.png", dpi=120)

# ---- Write back: the frame keeps its dictionary, and a new variable gets one ----

heavy = penguins[penguins["BodyMass"] > 5000].assign(kilos=lambda frame: frame["BodyMass"] / 1000)
kilos = {"label": "Body mass (kg)", "measure": "scale"}
count = datasrc.write(heavy, "heavy_penguins.quav", variables={"kilos": kilos})
print(count, "heavy penguins written")
